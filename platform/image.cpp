#include "platform/image.h"

#include <utility>

namespace quellor {

Image::Image(const RasterShape& shape, std::optional<ColorSpace> colorSpace, Decode decode)
    : shape_(shape),
      colorSpace_(std::move(colorSpace)),
      samples_(std::make_shared<Samples>(Samples{std::move(decode), std::nullopt})) {}

Image::Image(Raster raster, std::optional<ColorSpace> colorSpace)
    : shape_(shapeOf(raster)),
      colorSpace_(std::move(colorSpace)),
      samples_(std::make_shared<Samples>(Samples{nullptr, std::move(raster)})) {}

AlphaInfo Image::alphaInfo() const {
  if (shape_.alpha) return shape_.premultiplied ? AlphaInfo::premultipliedLast : AlphaInfo::last;
  return colorModelOf(shape_.model) == ColorModel::rgb ? AlphaInfo::noneSkipLast : AlphaInfo::none;
}

const Raster* Image::raster() const {
  if (const Decode decode = std::exchange(samples_->decode, nullptr)) {
    samples_->raster = decode();
    // Samples of another shape than the one that was reported would belong to another picture.
    if (samples_->raster && shapeOf(*samples_->raster) != shape_) samples_->raster.reset();
  }
  return samples_->raster ? &*samples_->raster : nullptr;
}

}  // namespace quellor
