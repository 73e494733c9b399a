#pragma once
#include <cstdint>
#include <optional>

#include "platform/image.h"

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

constexpr std::size_t bytesPerSample(int bits) { return bits > 8 ? 2 : 1; }
constexpr std::uint32_t greatestSample(int bits) { return (1U << bits) - 1; }

inline constexpr std::uint16_t kBt601Matrix = 6;  // ITU-T H.273, table 4

/// What a raster's components are, once looked at.
struct RasterForm {
  Subsampling subsampling;    // of a ycbcr raster
  std::uint16_t matrix = 2;   // of a ycbcr raster: as H.273 numbers it, never unspecified
  bool greenBlueRed = false;  // a ycbcr raster whose matrix is the identity
  bool fullRange = true;      // of ycbcr and grey
};

/// Absent when the raster is none that the pixel engine's contract knows: wrong number or size of components, no
/// memory behind them, depth or size out of range.
std::optional<RasterForm> formOf(const Raster& raster);

}  // namespace quellor::pixels
