#pragma once
#include <optional>

#include "platform/codecs/heif_library.h"
#include "platform/image.h"

namespace quellor::heif {

/// What the container says of the samples' coding.
struct Signalling {
  std::optional<Cicp> cicp;    // absent: the bitstream is asked
  bool premultiplied = false;  // colour is multiplied by alpha
};

/// The samples of a decoded image, which the raster keeps alive. Samples of less than 8 bits, or of different depths
/// in one image, are widened to the common depth. Absent when a raster has no form for them: more than 16 bits,
/// floating point, no visual component.
std::optional<Raster> rasterOf(ImagePointer image, const Signalling& signalling);

}  // namespace quellor::heif
