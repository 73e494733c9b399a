#pragma once
#include <optional>
#include <string_view>
#include <vector>

#include "platform/values/metadata_blocks.h"

namespace quellor {

/// What the metadata blocks of an image say of the things that this system looks at by name. Values that nobody asks
/// for are not read.
struct MetadataSummary {
  bool tiff = false;  // a readable entry in the first Exif directory
  bool exif = false;  // a readable entry in a directory of the camera's settings
  bool position = false;
  bool make = false;
  bool model = false;
  bool makerNote = false;
  std::vector<std::string_view> makers;  // dictionary keys of the makers that are recognised: "{MakerCanon}"
  bool iptc = false;                     // a complete dataset (IPTC-NAA Information Interchange Model 4.2, chapter 3)
  bool packet = false;                   // an XMP packet that is not empty
  std::optional<int> orientation;        // of the Exif block: 1 to 8
  /// Pixels per inch as the Exif block has them; absent where they are not above zero or without a unit.
  std::optional<double> dpiWidth;
  std::optional<double> dpiHeight;
  /// Whether the Exif block had anything that could be read.
  bool exifReadable = false;
};

/// Of the things that both an Exif block and a packet may hold (position, make, model, maker note), those that stand in
/// either. Raises std::bad_alloc.
MetadataSummary summaryOf(const MetadataBlocks& blocks);

}  // namespace quellor
