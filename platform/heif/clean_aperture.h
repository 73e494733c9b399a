#pragma once
#include <cstdint>
#include <optional>

#include "platform/values/bytes.h"

namespace quellor::heif {

/// A part of an image, in samples; never empty.
struct Crop {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

/// What a clean aperture (the payload of a `clap` property; ISO/IEC 14496-12, 12.1.4) leaves of an image of `width` x
/// `height`. Its size is rounded to the nearest, where it begins to the sample before; what of it lies beyond the
/// image is dropped. Absent for a payload that is too short, for a denominator of 0 and where nothing of the image
/// would be left.
std::optional<Crop> cropBy(ByteView cleanAperture, std::uint32_t width, std::uint32_t height);

}  // namespace quellor::heif
