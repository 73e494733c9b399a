#pragma once
#include <cstddef>
#include <vector>

#include "platform/hevc/parameter_sets.h"

namespace quellor::hevc {

/// The order of a picture's coding tree blocks and the tiles that they lie in (ITU-T H.265, 6.5.1).
struct CtbLayout {
  unsigned columns = 0;
  bool wavefront = false;
  std::vector<unsigned> order;     // raster addresses in the order of coding
  std::vector<unsigned> tile;      // by raster address
  std::vector<unsigned> tileLeft;  // by raster address: the first column of its tile

  /// Whether the block at that place of the order, which is not the first, is in another tile than the one before it.
  [[nodiscard]] bool startsTile(std::size_t place) const { return tile[order[place]] != tile[order[place - 1]]; }

  /// Whether the block at that place of the order is the first of a row of its tile, and rows are wavefronts.
  [[nodiscard]] bool startsWavefront(std::size_t place) const {
    return wavefront && order[place] % columns == tileLeft[order[place]];
  }

  /// Whether the block at that place of the order, which is not the first, is coded apart from the one before it.
  [[nodiscard]] bool startsSubset(std::size_t place) const { return startsTile(place) || startsWavefront(place); }
};

/// Its order is empty when the tiles do not fit the picture. May throw std::bad_alloc.
[[nodiscard]] CtbLayout layOut(const Sps& sps, const Pps& pps);

}  // namespace quellor::hevc
