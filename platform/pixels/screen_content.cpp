#include "platform/pixels/screen_content.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace quellor {
namespace {

constexpr std::size_t kBlock = 16;
constexpr std::size_t kBlockSamples = kBlock * kBlock;
constexpr int kContrast = 48;
constexpr std::size_t kMostBlocks = 4096;
constexpr std::size_t kFewestWithContrast = 8;

/// The eight most significant bits of a sample.
std::uint8_t mostSignificantBits(const std::uint8_t* at, int bits) {
  const unsigned sample = loadSample(at, bytesPerSample(bits));
  return static_cast<std::uint8_t>(std::min<unsigned>(sample >> (bits - 8), std::numeric_limits<std::uint8_t>::max()));
}

struct BlockFacts {
  int range = 0;
  std::size_t mostFrequent = 0;  // how often the most frequent value occurs
};

BlockFacts factsOf(const Component& luma, int bits, std::size_t left, std::size_t top) {
  std::array<std::uint16_t, 256> counts{};
  int least = 255, greatest = 0;
  for (std::size_t y = top; y < top + kBlock; ++y) {
    const std::uint8_t* at = luma.firstSample + y * luma.strideBytes + left * luma.stepBytes;
    for (std::size_t x = 0; x < kBlock; ++x, at += luma.stepBytes) {
      const std::uint8_t sample = mostSignificantBits(at, bits);
      ++counts[sample];
      least = std::min<int>(least, sample);
      greatest = std::max<int>(greatest, sample);
    }
  }
  return {greatest - least, *std::max_element(counts.begin(), counts.end())};
}

}  // namespace

bool looksLikeScreenContent(const Raster& raster) {
  const Component& luma = raster.components.front();
  const std::size_t columns = luma.width / kBlock, rows = luma.height / kBlock;
  // Every n-th block in both directions.
  const double excess = static_cast<double>(columns) * static_cast<double>(rows) / static_cast<double>(kMostBlocks);
  const auto pitch = std::max<std::size_t>(1, static_cast<std::size_t>(std::ceil(std::sqrt(excess))));
  std::size_t withContrast = 0, withGround = 0;
  for (std::size_t row = 0; row < rows; row += pitch) {
    for (std::size_t column = 0; column < columns; column += pitch) {
      const BlockFacts facts = factsOf(luma, raster.bitsPerComponent, column * kBlock, row * kBlock);
      if (facts.range < kContrast) continue;
      ++withContrast;
      withGround += facts.mostFrequent >= kBlockSamples / 2 ? 1 : 0;
    }
  }
  return withContrast >= kFewestWithContrast && withGround * 10 >= withContrast * 4;
}

}  // namespace quellor
