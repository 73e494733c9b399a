#pragma once
#include <cstdint>
#include <string>

namespace quellor::metadata {

/// The directories whose tags have names: the numbers overlap between them.
enum class TagGroup : std::uint8_t { tiff, exif, gps };

/// The key of a tag: its name in Exif 2.32 (CIPA DC-008-2019, tables 4, 7, 8, 10 to 13 and 15; GPS names without
/// their leading "GPS") or, for the document tags of the first directory, in TIFF 6.0; the number in decimal for a
/// tag that has no name.
std::string tagKey(TagGroup group, std::uint16_t tag);

}  // namespace quellor::metadata
