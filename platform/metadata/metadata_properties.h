#pragma once
#include <optional>

#include "platform/properties.h"

namespace quellor {

/// Adds what the blocks say to `properties`: the dictionaries {TIFF} (first directory), {Exif}, {GPS}, {IPTC},
/// {XMP} (the packet's bytes) and one {Maker…} for a recognised maker note. A dictionary is added only when its
/// source is there and has a readable entry; an unreadable entry is left out, the others stay. Only the maker
/// dictionary may be empty: of some makers' notes no more than the maker is recognised. The note itself stays in
/// {Exif} in any case. The thumbnail's directory and the Interoperability directory are not reported.
///
/// Nested keys are the Exif standard's tag names ("Make", "ExposureTime"; in {GPS} without the leading "GPS"), a tag
/// without a name goes under its number in decimal, as do all in a maker dictionary. Values keep their type and
/// precision: rationals stay rationals, LONG is an unsigned 32-bit integer and every other integer type an integer,
/// ASCII becomes text (valid UTF-8, up to the first NUL), UNDEFINED becomes bytes, more than one value a list
/// (platform/metadata/tiff_values.h has the fine print). Of a tag that is repeated the first readable one counts.
void addMetadataProperties(const MetadataBlocks& blocks, PropertyDictionary& properties);

/// The orientation in the first directory of an Exif block, or absent when there is none from 1 to 8.
std::optional<int> exifOrientation(ByteView exif);

/// Resolution in pixels per inch as the first directory of an Exif block gives it in inches, the default, or
/// centimetres; absent where it is not above zero or without a unit.
struct ExifResolution {
  std::optional<double> dpiWidth;
  std::optional<double> dpiHeight;
};
ExifResolution exifResolution(ByteView exif);

}  // namespace quellor
