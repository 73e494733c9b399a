#include "tests/support/gif_fixture.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace quellor::test_support {
namespace {

void put(Bytes& file, std::string_view text) { file.insert(file.end(), text.begin(), text.end()); }

void put(Bytes& file, const Bytes& bytes) { file.insert(file.end(), bytes.begin(), bytes.end()); }

void putNumber(Bytes& file, std::uint16_t number) {
  file.push_back(static_cast<std::uint8_t>(number));
  file.push_back(static_cast<std::uint8_t>(number >> 8));
}

void putSubBlocks(Bytes& file, const Bytes& data) {
  for (std::size_t start = 0; start < data.size(); start += 255) {
    const std::size_t size = std::min<std::size_t>(255, data.size() - start);
    file.push_back(static_cast<std::uint8_t>(size));
    const auto first = data.begin() + static_cast<std::ptrdiff_t>(start);
    file.insert(file.end(), first, first + static_cast<std::ptrdiff_t>(size));
  }
  file.push_back(0);
}

/// Flag bits of a descriptor for a colour map: bit 7, and the size as an exponent of 2, less 1.
std::uint8_t mapFlags(const Bytes& map) {
  if (map.empty()) return 0;
  return static_cast<std::uint8_t>(0x80 | (std::countr_zero(map.size() / 3) - 1));
}

void putApplication(Bytes& file, std::string_view name) {
  put(file, Bytes{0x21, 0xFF, 11});
  put(file, name);
}

void putXmp(Bytes& file, const GifRecipe& recipe) {
  putApplication(file, "XMP DataXMP");
  if (recipe.xmpInSubBlocks) {
    putSubBlocks(file, Bytes(recipe.xmp->begin(), recipe.xmp->end()));
    return;
  }
  put(file, *recipe.xmp);
  file.push_back(1);
  for (int i = 255; i >= 0; --i) file.push_back(static_cast<std::uint8_t>(i));
  file.push_back(0);
}

std::vector<std::uint8_t> inCodedOrder(const GifFrameRecipe& frame) {
  if (!frame.interlaced) return frame.indexes;
  std::vector<std::uint8_t> coded;
  constexpr int kPasses[4][2] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
  for (const auto& [first, step] : kPasses) {
    for (int row = first; row < frame.height; row += step) {
      const auto start = frame.indexes.begin() + row * frame.width;
      coded.insert(coded.end(), start, start + frame.width);
    }
  }
  return coded;
}

void putFrame(Bytes& file, const GifFrameRecipe& frame) {
  if (frame.transparentIndex || frame.delay) {
    put(file, Bytes{0x21, 0xF9, 4, static_cast<std::uint8_t>(frame.transparentIndex ? 1 : 0)});
    putNumber(file, frame.delay.value_or(0));
    put(file, Bytes{frame.transparentIndex.value_or(0), 0});
  }
  file.push_back(0x2C);
  for (const std::uint16_t number : {frame.left, frame.top, frame.width, frame.height}) putNumber(file, number);
  file.push_back(static_cast<std::uint8_t>(mapFlags(frame.localMap) | (frame.interlaced ? 0x40 : 0)));
  put(file, frame.localMap);
  put(file, gifImageData(inCodedOrder(frame), frame.codeSize));
}

}  // namespace

Bytes gifImageData(const std::vector<std::uint8_t>& indexes, std::uint8_t codeSize, bool complete) {
  const std::uint32_t clear = 1U << codeSize;
  Bytes packed;
  std::uint32_t pending = 0;
  unsigned pendingBits = 0;
  const auto putCode = [&](std::uint32_t code) {
    pending |= code << pendingBits;
    for (pendingBits += codeSize + 1U; pendingBits >= 8; pendingBits -= 8, pending >>= 8) {
      packed.push_back(static_cast<std::uint8_t>(pending));
    }
  };
  // Clearing the table before it can grow keeps all codes at their first width: no compression, but simple.
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    if (i % (clear - 2) == 0) putCode(clear);
    putCode(indexes[i]);
  }
  if (complete) putCode(clear + 1);
  if (pendingBits != 0) packed.push_back(static_cast<std::uint8_t>(pending));
  Bytes data{codeSize};
  putSubBlocks(data, packed);
  return data;
}

Bytes gifFile(const GifRecipe& recipe) {
  Bytes file;
  put(file, "GIF89a");
  putNumber(file, recipe.width);
  putNumber(file, recipe.height);
  put(file, Bytes{mapFlags(recipe.globalMap), 0, 0});
  put(file, recipe.globalMap);
  if (recipe.loopCount) {
    putApplication(file, "NETSCAPE2.0");
    put(file, Bytes{3, 1});
    putNumber(file, *recipe.loopCount);
    file.push_back(0);
  }
  if (recipe.xmp) putXmp(file, recipe);
  for (const GifFrameRecipe& frame : recipe.frames) putFrame(file, frame);
  file.push_back(0x3B);
  return file;
}

}  // namespace quellor::test_support
