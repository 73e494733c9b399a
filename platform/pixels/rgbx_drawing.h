#pragma once
#include <cstdint>
#include <span>

#include "platform/values/raster.h"

namespace quellor::pixels {

/// Draws an image of three colour components into `pixels`: red, green, blue and a fourth byte per pixel, 8 bits
/// each, rows of exactly width * 4 bytes from the top. Rounded to nearest, once; 8-bit RGB stays sample for sample.
/// No colour space is converted. Colour that alpha has not been multiplied into is multiplied by it (composited
/// over black), premultiplied colour stays as it is; the fourth byte is 255. How the raster is read: see raster_form.h.
///
/// `pixels` has width * height * 4 bytes. False, with undefined `pixels`, for grey and CMYK, for a raster whose
/// components do not fit its size and for matrices without a known conversion. Throws std::bad_alloc.
bool drawRgbx(const Raster& raster, std::span<std::uint8_t> pixels);

}  // namespace quellor::pixels
