#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/values/bytes.h"

/// GIF files built byte by byte (GIF89a).
namespace quellor::test_support {

struct GifFrameRecipe {
  std::uint16_t left = 0;
  std::uint16_t top = 0;
  std::uint16_t width = 1;
  std::uint16_t height = 1;
  bool interlaced = false;
  Bytes localMap;                     // 0 or 2, 4, 8, … 256 entries of 3 bytes
  std::vector<std::uint8_t> indexes;  // row after row, top row first
  std::uint8_t codeSize = 3;          // bits of an index, 2 to 8
  std::optional<std::uint8_t> transparentIndex;
  std::optional<std::uint16_t> delay;  // hundredths of a second
};

struct GifRecipe {
  std::uint16_t width = 1;
  std::uint16_t height = 1;
  Bytes globalMap;
  std::optional<std::uint16_t> loopCount;
  std::optional<std::string> xmp;
  bool xmpInSubBlocks = false;  // as ordinary data, not in one piece with the trailer of 258 bytes
  std::vector<GifFrameRecipe> frames;
};

/// The whole file with its trailer.
Bytes gifFile(const GifRecipe& recipe);

/// The image data of indexes in the order in which they are coded: code size, sub-blocks, terminator. `complete`
/// false leaves out the end-of-information code.
Bytes gifImageData(const std::vector<std::uint8_t>& indexes, std::uint8_t codeSize, bool complete = true);

}  // namespace quellor::test_support
