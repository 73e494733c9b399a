#pragma once
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/values/bytes.h"

/// Makes PNG files for tests with the PNG library's encoder.
namespace quellor::test_support {

struct PngChunk {
  std::string type;
  Bytes data;
};

struct PngText {
  enum class Kind : std::uint8_t { latin1, latin1Compressed, utf8, utf8Compressed };
  Kind kind;
  std::string keyword;
  std::string text;
};

struct PngSpec {
  std::uint32_t width = 17;
  std::uint32_t height = 9;
  int colorType = 2;  // 0 grey, 2 RGB, 3 palette, 4 grey and alpha, 6 RGB and alpha
  int bitDepth = 8;
  bool interlaced = false;
  /// The stored sample of a pixel's component.
  std::function<std::uint32_t(std::uint32_t x, std::uint32_t y, std::uint32_t component)> sample;
  std::vector<std::array<std::uint8_t, 3>> palette;
  Bytes paletteAlpha;                                            // tRNS of a palette image
  std::optional<std::array<std::uint16_t, 3>> transparentColor;  // tRNS of a grey (the first only) or RGB image
  std::optional<std::array<std::uint32_t, 2>> pixelsPerMetre;
  std::optional<double> gamma;
  std::optional<int> renderingIntent;
  Bytes iccProfile;
  std::vector<PngText> texts;
  std::vector<PngChunk> chunksBeforeData;  // written as they are, after all others
  std::vector<PngChunk> chunksAfterData;
};

Bytes encodePng(const PngSpec& spec);

/// Nothing special: RGB of 8 bits, no two neighbours the same.
PngSpec plainPng();

// Chunks of an animation (PNG, third edition, 11.3.6). The frame is one pixel, and its data is not compressed data.
PngChunk animationControl(std::uint32_t frames);
PngChunk frameControl(std::uint32_t sequenceNumber);
PngChunk frameData(std::uint32_t sequenceNumber);

/// Where a chunk stands in a file: `offset` of its length field, and the length of its data.
struct PngPlace {
  std::string type;
  std::size_t offset;
  std::size_t length;
};
std::vector<PngPlace> pngChunks(ByteView file);

/// The chunks of a file with their data, and a file of chunks, each with the right checksum.
std::vector<PngChunk> disassemblePng(ByteView file);
Bytes assemblePng(const std::vector<PngChunk>& chunks);

/// Writes the right checksum into the chunk, after its data was changed.
void repairChecksum(Bytes& file, const PngPlace& chunk);

}  // namespace quellor::test_support
