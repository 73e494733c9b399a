#include "rewrite/metadata_filter.h"

#include <initializer_list>
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
  for (const auto& [key, value] : properties.entries())
    if (containsIgnoringCase(key, part)) keys.push_back(key);
  for (const std::string& key : keys) properties.remove(key);
}

/// Removes entries of the dictionary under `key`; a value of another kind is left as it is.
void removeNested(std::string_view key, std::initializer_list<std::string_view> nestedKeys,
                  PropertyDictionary& properties) {
  PropertyValue* const value = properties.find(key);
  auto* const nested = value == nullptr ? nullptr : value->as<PropertyDictionary>();
  if (nested == nullptr) return;
  for (const std::string_view nestedKey : nestedKeys) nested->remove(nestedKey);
}

}  // namespace

std::optional<PropertyDictionary> filteredProperties(const ImageSource& source, std::size_t index,
                                                     const std::optional<MetadataPolicy>& policy) {
  auto properties = propertiesAtIndex(source, index);
  if (!properties) return std::nullopt;
  if (isSet(policy, &MetadataPolicy::removeGPS)) properties->remove(gpsKey);
  if (isSet(policy, &MetadataPolicy::removeXMP)) removeKeysContaining("xmp", *properties);
  if (isSet(policy, &MetadataPolicy::removeMakerMetadata)) {
    removeNested(tiffKey, {property_key::kTiffMake, property_key::kTiffModel}, *properties);
    removeNested(exifKey, {property_key::kExifMakerNote}, *properties);
    removeKeysContaining("maker", *properties);
  }
  return properties;
}

}  // namespace quellor
