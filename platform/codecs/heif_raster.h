#pragma once
#include <optional>

#include "platform/codecs/heif_library.h"
#include "platform/heif/clean_aperture.h"
#include "platform/image.h"

namespace quellor::heif {

/// What the container says of the samples' coding.
struct Signalling {
  std::optional<Cicp> cicp;                        // absent: the bitstream is asked
  bool premultiplied = false;                      // colour is multiplied by alpha
  ChromaSiting chromaSiting = ChromaSiting::left;  // of subsampled colour differences
};

/// The samples of a decoded image, which the raster keeps alive. Samples of less than 8 bits, or of different depths
/// in one image, are widened to the common depth. Absent when a raster has no form for them: more than 16 bits,
/// floating point, no visual component.
std::optional<Raster> rasterOf(ImagePointer image, const Signalling& signalling);

/// Leaves only a part of the raster, which lies within it. No sample is copied: colour differences of which the part
/// has only some columns or rows stay, and the phase says so.
void crop(Raster& raster, const Crop& part);

}  // namespace quellor::heif
