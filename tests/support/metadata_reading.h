#pragma once
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/metadata/metadata_properties.h"
#include "platform/metadata/xmp_engine.h"
#include "platform/module.h"

namespace quellor::test_support {

inline const XmpEngine& xmpEngine() {
  const auto* const xmp = ModuleLoader{QUELLOR_MODULES}.open<XmpEngine>("xmp", kXmpEngineEntry);
  if (xmp == nullptr) throw std::runtime_error("the XMP module is not there");
  return *xmp;
}

inline PropertyDictionary exifProperties(ByteView exif) {
  PropertyDictionary properties;
  addExifProperties(exif, properties);
  return properties;
}

inline PropertyDictionary propertiesOf(const MetadataBlocks& blocks) {
  PropertyDictionary properties;
  if (blocks.exif) addExifProperties(*blocks.exif, properties);
  if (blocks.iptc) addIptcProperties(*blocks.iptc, properties);
  if (blocks.xmp) addPacketProperties(*blocks.xmp, xmpEngine(), properties);
  return properties;
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
