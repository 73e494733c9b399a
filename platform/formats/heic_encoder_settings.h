#pragma once
#include <string>
#include <utility>
#include <vector>

#include "platform/values/raster.h"

namespace quellor {

/// How the HEVC encoder is to work on a picture, in its own words.
struct EncoderSettings {
  std::string preset;
  std::string tuning;
  std::string profile;
  std::vector<std::pair<std::string, std::string>> options;  // applied in this order, on top of the above
};

/// What a picture is coded for.
enum class PictureRole : std::uint8_t { image, alpha };

/// The settings for a raster as PixelEngine::forEncoding() gives it, at a quality from 0.0 to 1.0, and for the alpha
/// that belongs to it. What led to them is measured in docs/performance.md.
[[nodiscard]] EncoderSettings encoderSettingsFor(const Raster& raster, double quality, PictureRole role);

}  // namespace quellor
