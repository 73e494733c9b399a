#include "platform/hevc/ctb_layout.h"

#include <cstdint>

namespace quellor::hevc {
namespace {

/// The first block of each tile column or row, and the end of the last; empty when a tile would be.
std::vector<unsigned> tileBoundaries(unsigned count, unsigned blocks, bool uniform,
                                     const std::vector<unsigned>& sizes) {
  std::vector<unsigned> boundaries = {0};
  for (unsigned i = 0; i + 1 < count; ++i) {
    const std::uint64_t next =
        uniform ? (std::uint64_t{i} + 1) * blocks / count : std::uint64_t{boundaries.back()} + sizes[i];
    if (next <= boundaries.back() || next >= blocks) return {};
    boundaries.push_back(static_cast<unsigned>(next));
  }
  boundaries.push_back(blocks);
  return boundaries;
}

}  // namespace

CtbLayout layOut(const Sps& sps, const Pps& pps) {
  const unsigned columns = sps.ctbColumns();
  const unsigned rows = sps.ctbRows();
  const auto x = tileBoundaries(pps.tileColumns, columns, pps.uniformTiles, pps.tileWidths);
  const auto y = tileBoundaries(pps.tileRows, rows, pps.uniformTiles, pps.tileHeights);
  CtbLayout layout;
  layout.columns = columns;
  layout.wavefront = pps.wavefront;
  if (x.empty() || y.empty()) return layout;
  layout.order.reserve(std::size_t{columns} * rows);
  layout.tile.resize(std::size_t{columns} * rows);
  layout.tileLeft.resize(std::size_t{columns} * rows);
  unsigned tile = 0;
  for (std::size_t tileRow = 0; tileRow + 1 < y.size(); ++tileRow) {
    for (std::size_t tileColumn = 0; tileColumn + 1 < x.size(); ++tileColumn, ++tile) {
      for (unsigned row = y[tileRow]; row < y[tileRow + 1]; ++row) {
        for (unsigned column = x[tileColumn]; column < x[tileColumn + 1]; ++column) {
          const unsigned address = row * columns + column;
          layout.order.push_back(address);
          layout.tile[address] = tile;
          layout.tileLeft[address] = x[tileColumn];
        }
      }
    }
  }
  return layout;
}

}  // namespace quellor::hevc
