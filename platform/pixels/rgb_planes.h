#pragma once
#include <optional>

#include "platform/values/raster.h"

namespace quellor::pixels {

/// Red, green and blue planes of the raster's depth in full range, of grey three equal ones; rounded once. Alpha is not
/// looked at, and no colour space is converted. Absent for CMYK, for a raster whose components do not fit its size and
/// for matrices without a known conversion. Throws std::bad_alloc.
std::optional<Raster> rgbPlanes(const Raster& raster);

}  // namespace quellor::pixels
