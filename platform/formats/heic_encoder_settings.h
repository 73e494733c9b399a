#pragma once
#include <cstdint>
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

/// The size of a coding tree unit in luma samples. The encoder takes no smaller picture, so smaller ones are padded.
/// It is the same for icons as for photos: of units of 16 samples with sample adaptive offset, libavcodec 5.1 gets
/// some samples wrong.
inline constexpr std::uint32_t kCodingTreeUnit = 64;

/// What a picture is coded for.
enum class PictureRole : std::uint8_t { image, alpha };

/// The settings for a raster as pixels::encodingForm() gives it, at a quality from 0.0 to 1.0, and for the alpha
/// that belongs to it. What led to them is measured in docs/performance.md.
[[nodiscard]] EncoderSettings encoderSettingsFor(const Raster& raster, double quality, PictureRole role);

/// How a large picture is divided: tiles of one size, the last ones reaching beyond the picture.
struct EncodingGrid {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  std::uint32_t tileWidth = 0;
  std::uint32_t tileHeight = 0;
};

/// Up to 24 megapixels one tile of that size. Above, as few tiles of at most 2^24 pixels as there can be, as large as
/// each other, their sizes multiples of 64: an encoder takes 16 bytes a pixel, and a tile can be had on any phone.
/// `width` and `height` are even, and no column or row of tiles lies outside.
EncodingGrid encodingGridFor(std::uint32_t width, std::uint32_t height);

}  // namespace quellor
