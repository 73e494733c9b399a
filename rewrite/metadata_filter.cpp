#include "rewrite/metadata_filter.h"

#include <string>
#include <string_view>
#include <vector>

#include "observe/image_access.h"
#include "observe/text.h"

namespace quellor {
namespace {

bool isSet(const std::optional<MetadataPolicy>& policy, std::optional<bool> MetadataPolicy::*flag) {
  return policy && ((*policy).*flag).value_or(false);
}

void removeKeysContaining(std::string_view part, PropertyDictionary& properties) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : properties.entries()) {
    if (containsIgnoringCase(key, part)) keys.push_back(key);
  }
  for (const std::string& key : keys) properties.remove(key);
}

}  // namespace

std::optional<PropertyDictionary> filteredProperties(const ImageSource& source, std::size_t index,
                                                     const std::optional<MetadataPolicy>& policy) {
  auto properties = propertiesAtIndex(source, index);
  if (!properties) return std::nullopt;
  // What is removed leaves a mark even where it was not found: the metadata blocks may hold it all the same.
  if (isSet(policy, &MetadataPolicy::removeGPS)) properties->remove(gpsKey);
  if (isSet(policy, &MetadataPolicy::removeXMP)) {
    properties->remove(property_key::kXmp);
    removeKeysContaining("xmp", *properties);
  }
  if (isSet(policy, &MetadataPolicy::removeMakerMetadata)) {
    properties->removeNested(tiffKey, property_key::kTiffMake);
    properties->removeNested(tiffKey, property_key::kTiffModel);
    properties->removeNested(exifKey, property_key::kExifMakerNote);
    removeKeysContaining("maker", *properties);
  }
  return properties;
}

}  // namespace quellor
