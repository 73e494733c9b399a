#pragma once
#include <optional>

#include "platform/values/raster.h"

namespace quellor::pixels {

/// The raster as an encoder takes it: planar YCbCr 4:2:0 or one grey plane, and alpha as a plane of the same depth,
/// multiplied into the colour or not as before. 8 bits for 8-bit input, 10 bits for deeper one, rounded to nearest.
/// How the raster is read: see raster_form.h.
///
/// A raster of that form already, without a chroma phase, is handed back with the same planes and owner and with its
/// own range. Any other becomes full range, and the result's phase is none. YCbCr keeps its matrix and chroma siting;
/// RGB, and CMYK, which becomes RGB first by the plain complement, become YCbCr by the matrix of BT.601 as in sYCC,
/// with the siting that decoders infer (left). In every case `coding` and `chromaSiting` of the result say what its
/// samples are and what the file is to signal; primaries and transfer characteristics are those of the raster.
///
/// Absent for a raster whose components do not fit its size. Throws std::bad_alloc.
std::optional<Raster> encodingForm(const Raster& raster);

}  // namespace quellor::pixels
