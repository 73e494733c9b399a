#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "platform/values/bytes.h"
#include "platform/values/metadata_blocks.h"

/// What stands in a JPEG file's application segments, read without a library: nothing is copied but what is kept.
namespace quellor::jpeg {

/// The JFIF APP0 segment (ITU-T T.871, 10.1).
struct Jfif {
  /// Pixels per inch across and down, absent where the unit is none or a density is 0.
  std::optional<std::pair<double, double>> dpi;
};

/// What the segments before the first scan say.
struct ApplicationSegments {
  std::optional<Jfif> jfif;
  MetadataBlocks metadata;
  /// Absent unless every chunk of the profile is there exactly once (ICC.1:2010, B.4).
  std::optional<Bytes> iccProfile;
  /// What the first multi-picture extension holds behind its name, inside the file (CIPA DC-007, 5.2.1).
  std::optional<ByteView> multiPicture;
};

/// Reads the segments up to the first scan; what is broken is left out. Of several Exif blocks or XMP packets the
/// first counts. XMP beyond one segment ("extended XMP") is not read.
ApplicationSegments readApplicationSegments(ByteView file);

}  // namespace quellor::jpeg
