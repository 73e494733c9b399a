#pragma once
#include <optional>
#include <string>

#include "platform/image_properties.h"

namespace quellor::test_support {

/// The keys that an image's properties have for these blocks, apart from those of the image itself.
inline PropertyDictionary propertiesOf(const MetadataBlocks& blocks) {
  ImageFacts facts;
  facts.metadata = blocks;
  PropertyDictionary properties = imageProperties(facts, std::nullopt);
  for (const auto key :
       {property_key::kColorModel, property_key::kDepth, property_key::kPixelWidth, property_key::kPixelHeight,
        property_key::kOrientation, property_key::kDpiWidth, property_key::kDpiHeight}) {
    properties.remove(key);
  }
  return properties;
}

inline PropertyDictionary exifProperties(ByteView exif) {
  return propertiesOf({Bytes(exif.begin(), exif.end()), std::nullopt, std::nullopt});
}

/// The keys at the top level and, as "{group}/key", those inside of its dictionaries; separated by spaces.
inline std::string keysOf(const PropertyDictionary& properties) {
  std::string keys;
  const auto add = [&keys](const std::string& key) { keys += (keys.empty() ? "" : " ") + key; };
  for (const auto& [key, value] : properties.entries()) {
    add(key);
    const auto* const nested = value.as<PropertyDictionary>();
    if (nested == nullptr) continue;
    for (const auto& entry : nested->entries()) add(key + "/" + entry.first);
  }
  return keys;
}

}  // namespace quellor::test_support
