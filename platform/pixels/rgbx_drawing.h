#pragma once
#include <cstdint>
#include <span>

#include "platform/image.h"

namespace quellor::pixels {

/// PixelEngine::drawRgbx, which may throw std::bad_alloc.
bool drawRgbx(const Raster& raster, std::span<std::uint8_t> pixels);

}  // namespace quellor::pixels
