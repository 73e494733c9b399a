#include "platform/formats/heic_encoder_seams.h"

#include <cstddef>

namespace quellor {
namespace {

constexpr std::uint32_t kBlock = 16;
constexpr std::uint32_t kSeamBlocks = kSeamWidth / kBlock;

std::uint32_t blocksIn(std::uint32_t samples) { return (samples + kBlock - 1) / kBlock; }

/// Whether a block is beside the tile before or the tile behind its own, in one direction.
bool isBesideSeam(std::uint32_t block, std::uint32_t blocks, std::uint32_t tile, std::uint32_t tiles) {
  return (tile > 0 && block < kSeamBlocks) || (tile + 1 < tiles && block + kSeamBlocks >= blocks);
}

}  // namespace

std::vector<float> seamOffsetsFor(const EncodingGrid& grid, std::uint32_t column, std::uint32_t row) {
  if (grid.columns == 1 && grid.rows == 1) return {};
  const std::uint32_t across = blocksIn(grid.tileWidth), down = blocksIn(grid.tileHeight);
  std::vector<float> offsets;
  offsets.reserve(std::size_t{across} * down);
  for (std::uint32_t y = 0; y < down; ++y) {
    const bool besideRow = isBesideSeam(y, down, row, grid.rows);
    for (std::uint32_t x = 0; x < across; ++x) {
      const bool beside = besideRow || isBesideSeam(x, across, column, grid.columns);
      offsets.push_back(beside ? kSeamOffset : 0.0F);
    }
  }
  return offsets;
}

}  // namespace quellor
