#pragma once
#include <cstdint>
#include <optional>

#include "platform/values/raster.h"

/// How the functions of this folder read a raster:
/// - Luma and colour differences are taken by matrix and range of the raster's coding (ITU-T H.273, 8.3). An
///   unspecified matrix counts as that of BT.601 (number 6), and so does the identity of a raster with subsampled
///   colour differences, which cannot be. The identity without subsampling makes the components green, blue and red.
/// - The factor of a subsampling (1, 2 or 4 in each direction) is what makes a component's size of the image's and
///   the phase, rounded up. A half may have one sample more, as some decoders leave it after a crop: it counts as what
///   lies beyond the image's edge.
/// - Colour differences are brought to another resolution by linear interpolation between their places, which
///   Raster::chromaSiting and Raster::chromaPhase give: free of overshoot, and what other decoders do.
/// - Red, green, blue, inks and alpha always have full range. A sample above the greatest value of its depth counts
///   as that value.
/// Large images are worked on by as many threads as there are processors, each for a slice of rows; besides its
/// result a function needs memory for a few rows.
namespace quellor::pixels {

/// How often a colour difference is coded: once for 2^horizontal columns and 2^vertical rows. 0 to 2 each.
struct Subsampling {
  unsigned horizontal = 0;
  unsigned vertical = 0;
  friend bool operator==(const Subsampling&, const Subsampling&) = default;
};

inline constexpr Subsampling kNoSubsampling{0, 0};
inline constexpr Subsampling kHalfBothWays{1, 1};

/// `size`, of little more than 32 bits, divided by 2^shift, rounded up.
constexpr std::uint32_t subsampled(std::uint64_t size, unsigned shift) {
  return static_cast<std::uint32_t>((size + (1U << shift) - 1) >> shift);
}

/// What a raster's components are, once looked at.
struct RasterForm {
  Subsampling subsampling;    // of a ycbcr raster
  std::uint16_t matrix = 2;   // of a ycbcr raster: as H.273 numbers it, never unspecified
  bool greenBlueRed = false;  // a ycbcr raster whose matrix is the identity
  bool fullRange = true;      // of ycbcr and grey
};

/// Absent when the raster is none that the functions of this folder read: wrong number or size of components, no
/// memory behind them, depth or size out of range.
std::optional<RasterForm> formOf(const Raster& raster);

}  // namespace quellor::pixels
