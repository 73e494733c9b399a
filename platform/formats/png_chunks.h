#pragma once
#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/values/big_endian.h"
#include "platform/values/bytes.h"

/// The chunks of a PNG file (PNG, third edition, 5.3), as they stand in it.
namespace quellor::png {

/// What a file begins with, and its first chunk follows (5.2).
inline constexpr std::string_view kSignature = "\x89PNG\r\n\x1A\n";

/// A chunk inside its file.
struct Chunk {
  static constexpr std::size_t kHeadSize = 8;      // length and type
  static constexpr std::size_t kChecksumSize = 4;  // of type and data

  ByteView whole;  // kHeadSize + kChecksumSize bytes or more

  [[nodiscard]] ByteView data() const { return whole.subspan(kHeadSize, whole.size() - kHeadSize - kChecksumSize); }
  [[nodiscard]] bool is(std::string_view type) const { return startsWith(whole.subspan(4), type); }
};

/// The chunk that begins at `offset`, which is at most the size of `file`. Absent where none stands there whole or with
/// a length that the format allows. Neither its type nor its checksum is looked at.
std::optional<Chunk> chunkAt(ByteView file, std::size_t offset);

/// Whether it is the end chunk, with the right checksum.
bool isEnd(const Chunk& chunk);

}  // namespace quellor::png
