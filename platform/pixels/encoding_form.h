#pragma once
#include <optional>

#include "platform/image.h"

namespace quellor::pixels {

/// PixelEngine::forEncoding, which may throw std::bad_alloc.
std::optional<Raster> encodingForm(const Raster& raster);

}  // namespace quellor::pixels
