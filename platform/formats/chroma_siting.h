#pragma once
#include <optional>

#include "platform/heif/container.h"
#include "platform/values/raster.h"

namespace quellor::formats {

/// Where the colour differences of a 4:2:0 image lie, as its coded item says, or as is inferred where that says
/// nothing. Of a derived image its first coded input counts: the tiles of a grid are coded alike (ISO/IEC 23000-22,
/// 7.3.11.4.2). For an image that is not 4:2:0 the result means nothing.
///
/// - HEVC: chroma_sample_loc_type_top_field of the sequence parameter set in `hvcC`; left where that is absent
///   (ITU-T H.265, E.3.1) or above 5, and where there is no such set that can be read.
/// - AV1: chroma_sample_position in `av1C`, vertical (left) or co-located (top left); left where it is unknown
///   (AV1 Bitstream & Decoding Process, 6.4.2).
/// - JPEG: centre (ITU-T T.871, clause 6).
ChromaSiting chromaSitingOf(const heif::Container& container, const heif::Item& image);

}  // namespace quellor::formats
