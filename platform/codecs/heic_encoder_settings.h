#pragma once
#include <string>
#include <utility>
#include <vector>

#include "platform/image.h"

namespace quellor {

/// How the HEVC encoder is to work on a picture: libheif's names of its parameters and their values. What begins with
/// `x265:` goes to the encoder itself and refines the preset, whatever their order.
using EncoderSettings = std::vector<std::pair<std::string, std::string>>;

/// The settings for a raster as PixelEngine::forEncoding() gives it, at a quality from 0.0 to 1.0. What led to them is
/// measured in docs/performance.md.
[[nodiscard]] EncoderSettings encoderSettingsFor(const Raster& raster, double quality);

}  // namespace quellor
