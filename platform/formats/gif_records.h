#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/values/bytes.h"

namespace quellor::gif {

/// An image descriptor and what belongs to it (GIF89a, 20 to 23).
struct Frame {
  std::uint16_t left = 0;
  std::uint16_t top = 0;
  std::uint16_t width = 0;  // 1 or more
  std::uint16_t height = 0;
  bool interlaced = false;
  ByteView colorMap;  // the local one, else the global one: red, green, blue of each entry; may be empty
  std::optional<std::uint8_t> transparentIndex;
};

/// What the records of a GIF file say, with no image data decoded. Refers to the bytes that it was read from.
struct Records {
  std::uint16_t width = 0;  // logical screen, 1 or more
  std::uint16_t height = 0;
  std::size_t frameCount = 0;  // 1 or more
  Frame firstFrame;            // inside the logical screen
  std::optional<Bytes> xmp;
};

/// Walks the records from the header to the trailer; bytes behind that do not count. Absent when the file ends before
/// its trailer or a record is none of the standard's, no matter behind how many good frames.
std::optional<Records> readRecords(ByteView file);

}  // namespace quellor::gif
