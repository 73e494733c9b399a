#include "platform/metadata/metadata_removals.h"

#include <algorithm>
#include <string>

#include "platform/metadata/exif_tags.h"

namespace quellor::metadata {

namespace {

constexpr std::string_view kMakerDictionaries = "{Maker";

const PropertyDictionary* nestedDictionary(const PropertyDictionary& properties, std::string_view group) {
  const PropertyValue* const value = properties.find(group);
  return value == nullptr ? nullptr : value->as<PropertyDictionary>();
}

std::set<std::uint16_t> missingTags(const TiffDirectory& directory, TagGroup tags, std::string_view group,
                                    const PropertyDictionary& read, const PropertyDictionary& properties) {
  std::set<std::uint16_t> missing;
  for (const TiffEntry& entry : directory.entries) {
    const std::string key = tagKey(tags, entry.tag);
    if (hasNested(read, group, key) && !hasNested(properties, group, key)) missing.insert(entry.tag);
  }
  return missing;
}

bool lacksMakerDictionary(const PropertyDictionary& read, const PropertyDictionary& properties) {
  const auto& entries = read.entries();
  return std::any_of(entries.begin(), entries.end(), [&properties](const auto& entry) {
    return entry.first.starts_with(kMakerDictionaries) && !properties.contains(entry.first);
  });
}

}  // namespace

bool hasNested(const PropertyDictionary& properties, std::string_view group, std::string_view key) {
  const PropertyDictionary* const dictionary = nestedDictionary(properties, group);
  return dictionary != nullptr && dictionary->contains(key);
}

MetadataRemovals removalsFrom(const ExifDirectories& directories, const PropertyDictionary& read,
                              const PropertyDictionary& properties) {
  using namespace property_key;
  MetadataRemovals removals;
  removals.firstTags = missingTags(directories.first, TagGroup::tiff, kTiff, read, properties);
  removals.firstTags.erase(exif_tag::kOrientation);
  if (directories.exif) {
    removals.exifTags = missingTags(*directories.exif, TagGroup::exif, kExif, read, properties);
  }
  removals.gps = read.contains(kGps) && !properties.contains(kGps);

  const bool noteGoes = lacksMakerDictionary(read, properties) || removals.exifTags.contains(exif_tag::kMakerNote);
  removals.maker =
      noteGoes || removals.firstTags.contains(exif_tag::kMake) || removals.firstTags.contains(exif_tag::kModel);
  if (!removals.maker) return removals;
  if (!hasNested(properties, kTiff, kTiffMake)) removals.firstTags.insert(exif_tag::kMake);
  if (!hasNested(properties, kTiff, kTiffModel)) removals.firstTags.insert(exif_tag::kModel);
  if (noteGoes || !hasNested(properties, kExif, kExifMakerNote)) {
    removals.exifTags.insert(exif_tag::kMakerNote);
    removals.firstTags.insert(exif_tag::kMakerNote);  // where some writers put it
  }
  return removals;
}

}  // namespace quellor::metadata
