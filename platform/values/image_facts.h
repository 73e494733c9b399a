#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/values/bytes.h"
#include "platform/values/color.h"
#include "platform/values/metadata_blocks.h"

namespace quellor {

/// An auxiliary image of the primary image that carries no alpha.
struct AuxiliaryImage {
  enum class Kind : std::uint8_t { depth, disparity, portraitEffectsMatte, semanticSegmentationMatte, hdrGainMap };
  Kind kind;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::string type;  // the URN or item type that the file names it by
};

/// A dictionary of properties that only one format has.
enum class FormatDictionary : std::uint8_t { none, jfif, png, gif };

/// What a file says of its primary image, learned without decoding a sample.
struct ImageFacts {
  std::size_t imageCount = 1;  // frames, pages or top-level images
  bool primaryImage = false;   // one of the images is marked as the primary one among several
  std::uint32_t width = 0;     // as stored
  std::uint32_t height = 0;
  int bitsPerComponent = 8;  // after the expansion of palettes and of less than 8 bits
  ColorModel colorModel = ColorModel::rgb;
  bool hasAlpha = false;
  /// What the container itself says, or absent where only the Exif block can: 1 to 8.
  std::optional<int> orientation;
  /// False where the container overrules the Exif orientation: one that exists then counts as 1.
  bool exifOrientationCounts = true;
  std::optional<double> dpiWidth;  // pixels per inch, from the container, not from Exif
  std::optional<double> dpiHeight;
  std::optional<Bytes> iccProfile;
  std::optional<Cicp> cicp;
  MetadataBlocks metadata;
  FormatDictionary formatDictionary = FormatDictionary::none;
  std::vector<AuxiliaryImage> auxiliaryImages;
};

}  // namespace quellor
