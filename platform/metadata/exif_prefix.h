#pragma once
#include <algorithm>
#include <array>
#include <optional>

#include "platform/values/bytes.h"

namespace quellor::metadata {

/// The Exif block, a classic TIFF structure (Exif 2.32, 4.5.2), in what a format has in its place. The prefix
/// "Exif\0\0" belongs to JPEG segments (4.7.2), but writers put it in front of the block in every other format too, and
/// some double it. Absent when there is something else.
inline std::optional<ByteView> exifBlockIn(ByteView stored) {
  constexpr std::array<std::uint8_t, 6> kPrefix = {'E', 'x', 'i', 'f', 0, 0};
  constexpr std::array<std::uint8_t, 4> kLittleEndian = {'I', 'I', 42, 0};
  constexpr std::array<std::uint8_t, 4> kBigEndian = {'M', 'M', 0, 42};
  const auto beginsWith = [&stored](const auto& bytes) {
    return stored.size() >= bytes.size() && std::equal(bytes.begin(), bytes.end(), stored.begin());
  };
  while (beginsWith(kPrefix)) stored = stored.subspan(kPrefix.size());
  return beginsWith(kLittleEndian) || beginsWith(kBigEndian) ? std::optional(stored) : std::nullopt;
}

}  // namespace quellor::metadata
