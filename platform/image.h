#pragma once
#include <cstdint>
#include <functional>
#include <memory>
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

/// An image that is known to be whole: every coded sample was read without an error. The samples themselves are made
/// when they are asked for, since most questions about an image need none.
///
/// Copies share the samples. Not for several threads at once.
class Image {
 public:
  /// Makes the samples; absent when that fails.
  using Decode = std::function<std::optional<Raster>()>;

  /// An image whose samples are made by `decode`, at the first request.
  Image(const RasterShape& shape, std::optional<ColorSpace> colorSpace, Decode decode);

  /// An image whose samples are at hand.
  Image(Raster raster, std::optional<ColorSpace> colorSpace);

  [[nodiscard]] std::uint32_t width() const { return shape_.width; }
  [[nodiscard]] std::uint32_t height() const { return shape_.height; }
  [[nodiscard]] int bitsPerComponent() const { return shape_.bitsPerComponent; }
  [[nodiscard]] AlphaInfo alphaInfo() const;
  [[nodiscard]] const std::optional<ColorSpace>& colorSpace() const { return colorSpace_; }

  /// The samples, decoded at the first request and kept as long as the image. Null when they cannot be made after all:
  /// for want of memory, or because a decoder refuses what is known to be whole. Raises MissingModule
  /// (platform/formats/hevc_modules.h) where the decoder is not installed.
  [[nodiscard]] const Raster* raster() const;

 private:
  struct Samples {
    Decode decode;  // empty once it was called
    std::optional<Raster> raster;
  };

  RasterShape shape_;
  std::optional<ColorSpace> colorSpace_;
  std::shared_ptr<Samples> samples_;
};

}  // namespace quellor
