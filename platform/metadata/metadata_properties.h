#pragma once
#include <optional>

#include "platform/metadata/xmp_engine.h"
#include "platform/properties.h"

namespace quellor {

/// What the top level of a dictionary takes from an Exif block.
struct ExifSummary {
  std::optional<int> orientation;  // 1 to 8
  /// Pixels per inch; absent where they are not above zero or without a unit.
  std::optional<double> dpiWidth;
  std::optional<double> dpiHeight;
  /// Whether the block had anything that could be read.
  bool contributed = false;
};

/// Adds what an Exif block says to `properties`: the dictionaries {TIFF} (first directory), {Exif} and {GPS}, each when
/// it has a readable entry, and a {Maker…} for a maker note that is recognised. Only what this system looks at by name
/// is in them: whether there are Make and Model in {TIFF} and MakerNote in {Exif}, without their values.
ExifSummary addExifProperties(ByteView exif, PropertyDictionary& properties);

/// Adds {IPTC} for a run of datasets (IPTC-NAA Information Interchange Model 4.2, chapter 3) with a complete one.
void addIptcProperties(ByteView iptc, PropertyDictionary& properties);

/// Adds {XMP} for a packet that is not empty, and what it says where the Exif block could have said it: {GPS} for a
/// packet with a position, Make and Model in {TIFF}, MakerNote in {Exif}. Without their values.
void addPacketProperties(ByteView packet, const XmpEngine& xmp, PropertyDictionary& properties);

}  // namespace quellor
