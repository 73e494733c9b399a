#pragma once
#include <optional>
#include <string_view>
#include <utility>

#include "platform/metadata/metadata_properties.h"

namespace quellor::test_support {

inline PropertyDictionary propertiesOf(const MetadataBlocks& blocks) {
  PropertyDictionary properties;
  addMetadataProperties(blocks, properties);
  return properties;
}

inline PropertyDictionary exifProperties(Bytes exif) { return propertiesOf({std::move(exif), {}, {}}); }

/// The value under `key`, absent when there is none.
inline std::optional<PropertyValue> valueOf(const PropertyDictionary& properties, std::string_view key) {
  const PropertyValue* const value = properties.find(key);
  if (value == nullptr) return std::nullopt;
  return *value;
}

/// The dictionary under `key`, absent when there is none.
inline std::optional<PropertyDictionary> nested(const PropertyDictionary& properties, std::string_view key) {
  const PropertyValue* const value = properties.find(key);
  const auto* const dictionary = value == nullptr ? nullptr : value->as<PropertyDictionary>();
  if (dictionary == nullptr) return std::nullopt;
  return *dictionary;
}

/// The value under `key` in the dictionary under `group`, absent when there is none.
inline std::optional<PropertyValue> valueOf(const PropertyDictionary& properties, std::string_view group,
                                            std::string_view key) {
  const auto dictionary = nested(properties, group);
  return dictionary ? valueOf(*dictionary, key) : std::nullopt;
}

}  // namespace quellor::test_support
