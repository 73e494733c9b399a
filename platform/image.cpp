#include "platform/image.h"

namespace quellor {

AlphaInfo Image::alphaInfo() const {
  if (raster.alpha) return raster.premultiplied ? AlphaInfo::premultipliedLast : AlphaInfo::last;
  const bool color = raster.model == SampleModel::rgb || raster.model == SampleModel::ycbcr;
  return color ? AlphaInfo::noneSkipLast : AlphaInfo::none;
}

}  // namespace quellor
