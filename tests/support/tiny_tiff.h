#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quellor::test_support {

/// An uncompressed TIFF file of 3 by 2 pixels, 8-bit RGB, one strip, little-endian (TIFF 6.0, sections 2 and 6).
/// The orientation tag is written where one is given.
inline std::string tinyTiff(std::optional<int> orientation = std::nullopt) {
  constexpr std::uint32_t kShort = 3;
  constexpr std::uint32_t kLong = 4;
  constexpr std::uint32_t kWidth = 3;
  constexpr std::uint32_t kHeight = 2;
  constexpr std::uint32_t kPixelBytes = kWidth * kHeight * 3;
  constexpr std::uint32_t kPixels = 8;
  constexpr std::uint32_t kBitsPerSample = kPixels + kPixelBytes;
  constexpr std::uint32_t kDirectory = kBitsPerSample + 6;

  std::string file;
  const auto put = [&file](std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) file.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  };
  struct Entry {
    std::uint32_t tag, type, count, value;
  };
  std::vector<Entry> entries = {
      {256, kShort, 1, kWidth}, {257, kShort, 1, kHeight}, {258, kShort, 3, kBitsPerSample},
      {259, kShort, 1, 1},      {262, kShort, 1, 2},       {273, kLong, 1, kPixels},
      {277, kShort, 1, 3},      {278, kShort, 1, kHeight}, {279, kLong, 1, kPixelBytes},
      {284, kShort, 1, 1},
  };
  if (orientation) entries.insert(entries.begin() + 6, {274, kShort, 1, static_cast<std::uint32_t>(*orientation)});

  file += "II";
  put(42, 2);
  put(kDirectory, 4);
  for (std::uint32_t i = 0; i < kPixelBytes; ++i) put(i * 14, 1);
  for (int i = 0; i < 3; ++i) put(8, 2);
  put(static_cast<std::uint32_t>(entries.size()), 2);
  for (const Entry& entry : entries) {
    put(entry.tag, 2);
    put(entry.type, 2);
    put(entry.count, 4);
    put(entry.value, 4);
  }
  put(0, 4);
  return file;
}

}  // namespace quellor::test_support
