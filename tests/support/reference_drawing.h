#pragma once
#include <cstdint>

#include "platform/image.h"
#include "tests/support/raster_fixture.h"

/// Drawing by the rules, in double precision, as slow as it is plain.
namespace quellor::test_support {

/// A colour difference (component 1 or 2) at a sample of luma, on the straight lines between those around it. They lie
/// where the raster's siting says (ITU-T H.273, 8.7), each for 1, 2 or 4 columns and rows; beyond the outermost ones
/// nothing changes. The raster has no chroma phase.
double interpolatedDifference(const Raster& raster, std::size_t component, std::uint32_t x, std::uint32_t y);

/// Red, green and blue of a pixel, not rounded: from 0 to 1, composited over black where alpha is not multiplied in
/// already. `raster` is rgb or ycbcr with one of the matrices of rgbOfDifferences(), 0 (without subsampling) or 2 (as
/// 6).
Color referenceColor(const Raster& raster, std::uint32_t x, std::uint32_t y);

}  // namespace quellor::test_support
