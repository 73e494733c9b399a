#pragma once
#include <cstdint>
#include <optional>

#include "platform/color_space.h"
#include "platform/values/raster.h"

namespace quellor {

/// Where an image's alpha stands and whether the colour is multiplied by it. The numbers are part of the protocol:
/// the raw export reports them by name.
enum class AlphaInfo : std::uint32_t {
  none = 0,                // grey or CMYK without alpha
  premultipliedLast = 1,   // alpha, colour already multiplied by it
  premultipliedFirst = 2,  //
  last = 3,                // alpha, colour independent of it
  first = 4,               //
  noneSkipLast = 5,        // colour without alpha
  noneSkipFirst = 6,       //
  alphaOnly = 7,
};

/// A decoded image.
struct Image {
  Raster raster;
  std::optional<ColorSpace> colorSpace;

  [[nodiscard]] std::uint32_t width() const { return raster.width; }
  [[nodiscard]] std::uint32_t height() const { return raster.height; }
  [[nodiscard]] int bitsPerComponent() const { return raster.bitsPerComponent; }
  [[nodiscard]] AlphaInfo alphaInfo() const {
    if (raster.alpha) return raster.premultiplied ? AlphaInfo::premultipliedLast : AlphaInfo::last;
    return colorModelOf(raster.model) == ColorModel::rgb ? AlphaInfo::noneSkipLast : AlphaInfo::none;
  }
};

}  // namespace quellor
