#pragma once
#include <cstdint>
#include <set>
#include <string_view>

#include "platform/metadata/exif_directories.h"
#include "platform/properties.h"

namespace quellor::metadata {

/// What the Exif block of a dictionary says and the dictionary no longer does.
struct MetadataRemovals {
  std::set<std::uint16_t> firstTags;  // of the first directory
  std::set<std::uint16_t> exifTags;   // of the Exif directory
  bool gps = false;
  bool maker = false;  // one of Make, Model, MakerNote or the maker dictionary

  [[nodiscard]] bool any() const { return gps || maker || !firstTags.empty() || !exifTags.empty(); }
};

/// Compares `properties` with `read`, the dictionary that the block gives by itself. An entry that cannot be read is in
/// neither of them, so it is never missing; but once one of Make, Model and MakerNote is, all that are not in
/// `properties` go, readable or not. The Orientation entry never goes: the top level of a dictionary decides on it.
MetadataRemovals removalsFrom(const ExifDirectories& directories, const PropertyDictionary& read,
                              const PropertyDictionary& properties);

/// Whether `properties` have `key` in the dictionary `group`.
bool hasNested(const PropertyDictionary& properties, std::string_view group, std::string_view key);

}  // namespace quellor::metadata
