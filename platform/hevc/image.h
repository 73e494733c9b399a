#pragma once
#include <libheif/heif.h>

extern "C" {
#include <libavutil/frame.h>
}

namespace quellor::hevc {

/// Copies what the conformance window leaves of `frame` into a new image of libheif, at its own depth: monochrome, or
/// the planes Y, Cb and Cr in the order of coding, whatever the matrix makes of them. The colour description goes
/// with it, "unspecified" where the stream has none.
///
/// `image` stays null when the result is an error.
[[nodiscard]] heif_error makeImage(const AVFrame& frame, heif_image** image);

}  // namespace quellor::hevc
