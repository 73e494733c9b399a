#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/bytes.h"
#include "platform/color_space.h"
#include "platform/image.h"
#include "platform/properties.h"

/// The seam between the program and the libraries that read image formats.
///
/// Each format is a loadable module of its own (platform/module.h), opened only when a file of that format is met,
/// so that no run pays for libraries that it does not use. What crosses the seam is plain data: a codec takes the
/// bytes of a file and gives facts, metadata blocks, a profile and samples, never a library's handle. A codec can
/// therefore run in another process without a change above this header.
namespace quellor {

/// An auxiliary image of the primary image that carries no alpha.
struct AuxiliaryImage {
  enum class Kind : std::uint8_t { depth, disparity, portraitEffectsMatte, semanticSegmentationMatte, hdrGainMap };
  Kind kind;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::string type;  // the URN or item type that the file names it by
};

/// What a file says of its primary image, learned without decoding a sample.
struct EncodedFacts {
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
  /// Dictionaries that only this format has, by their top-level keys: {JFIF}, {PNG}, {GIF}.
  PropertyDictionary formatProperties;
  std::vector<AuxiliaryImage> auxiliaryImages;
};

/// The functions that a codec's module exports. None of them throws or ends the process, all are free of state.
struct Codec {
  /// Absent when the file's structure is broken. `file` is the whole file.
  std::optional<EncodedFacts> (*describe)(ByteView file) noexcept;

  /// The primary image's samples. Absent when any coded sample is missing, damaged or concealed, or when the
  /// memory for it cannot be had.
  std::optional<Raster> (*decode)(ByteView file) noexcept;
};

/// Images of more pixels are refused before anything is allocated: 2^30, five times the largest phone camera.
inline constexpr std::uint64_t kMaximumPixels = std::uint64_t{1} << 30;

/// Name of the function, with C linkage, by which a codec's module hands out its Codec: `const Codec* ()`.
inline constexpr const char* kCodecEntry = "quellorCodec";

}  // namespace quellor
