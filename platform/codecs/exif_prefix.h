#pragma once
#include <optional>
#include <string_view>

#include "platform/bytes.h"
#include "platform/codecs/big_endian.h"

namespace quellor {

/// Whether bytes begin like an Exif block, which is a classic TIFF structure (Exif 2.32, 4.5.2).
inline bool isExifBlock(ByteView bytes) {
  using namespace std::string_view_literals;
  return startsWith(bytes, "II*\0"sv) || startsWith(bytes, "MM\0*"sv);
}

/// The Exif block in what a format that stores it without a prefix has in its place: some writers put the one in front
/// that JPEG needs. Absent when it is something else, with a second prefix for instance.
inline std::optional<ByteView> withoutExifPrefix(ByteView stored) {
  using namespace std::string_view_literals;
  constexpr auto kPrefix = "Exif\0\0"sv;
  const ByteView block = startsWith(stored, kPrefix) ? stored.subspan(kPrefix.size()) : stored;
  return isExifBlock(block) ? std::optional(block) : std::nullopt;
}

}  // namespace quellor
