#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/metadata/exif_directories.h"

namespace quellor::test_support {

/// One entry of an Exif block with its value, wherever that stands.
struct ExifEntry {
  std::string directory;  // "IFD0", "Exif", "GPS" or "Interoperability"
  std::uint16_t tag;
  std::uint16_t type;
  Bytes value;
  friend bool operator==(const ExifEntry&, const ExifEntry&) = default;
};

/// All readable entries, in the order of the directories.
inline std::vector<ExifEntry> entriesOf(ByteView block) {
  std::vector<ExifEntry> entries;
  const auto directories = metadata::readExifDirectories(block);
  if (!directories) return entries;
  const auto add = [&](const char* name, const metadata::TiffDirectory& directory) {
    for (const metadata::TiffEntry& entry : directory.entries) {
      if (!entry.valueReadable) continue;
      const ByteView value = metadata::valueBytes(directories->block, entry);
      entries.push_back({name, entry.tag, entry.type, Bytes(value.begin(), value.end())});
    }
  };
  add("IFD0", directories->first);
  for (const auto& each : directories->exif) add("Exif", each);
  for (const auto& each : directories->gps) add("GPS", each);
  for (const auto& each : directories->interoperability) add("Interoperability", each);
  return entries;
}

/// The text of the first directory's entry up to its NUL; "absent" when it has no such entry.
inline std::string textOf(ByteView block, std::uint16_t tag) {
  for (const ExifEntry& entry : entriesOf(block)) {
    if (entry.directory == "IFD0" && entry.tag == tag) {
      return std::string(reinterpret_cast<const char*>(entry.value.data()), entry.value.size()).c_str();
    }
  }
  return "absent";
}

/// The orientation in the first directory, absent when there is none that is one integer.
inline std::optional<int> orientationOf(ByteView block) {
  const auto directories = metadata::readExifDirectories(block);
  const auto* const entry = directories ? directories->first.find(metadata::exif_tag::kOrientation) : nullptr;
  const auto value = entry == nullptr ? std::nullopt : metadata::unsignedValue(directories->block, *entry);
  if (!value) return std::nullopt;
  return static_cast<int>(*value);
}

}  // namespace quellor::test_support
