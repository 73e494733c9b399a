#pragma once
#include "platform/values/raster.h"

namespace quellor {

/// Whether a picture looks like rendered text and drawings (a screenshot, a scanned-in page made clean) rather than
/// like what a camera saw. An encoder's tools for one cost time or bytes on the other.
///
/// The measure: of the blocks of 16 x 16 luma samples that have contrast (a range of 48 or more at 8 bits), the share
/// in which one single value makes up half of the samples, as the ground does behind text. Nothing in nature does
/// that: 0 to 0.11 in all of about a hundred photos, 0.73 to 1.0 in screenshots, also in one with a photo in it. The
/// line is at 0.4. Pictures with fewer than eight such blocks count as photos.
///
/// `raster` is planar, grey or YCbCr. Looks at no more than about 4,000 blocks spread over the picture, which takes a
/// millisecond.
[[nodiscard]] bool looksLikeScreenContent(const Raster& raster);

}  // namespace quellor
