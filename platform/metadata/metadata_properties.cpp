#include "platform/metadata/metadata_properties.h"

#include <cmath>
#include <new>
#include <string>
#include <utility>

#include "platform/metadata/exif_directories.h"
#include "platform/metadata/exif_tags.h"
#include "platform/metadata/iptc_properties.h"
#include "platform/metadata/maker_notes.h"
#include "platform/metadata/tiff_values.h"

namespace quellor {

namespace {

using namespace metadata;

constexpr double kInchesPerCentimetre = 1 / 2.54;

PropertyDictionary directoryProperties(const TiffBlock& block, const TiffDirectory& directory, TagGroup group) {
  PropertyDictionary properties;
  TiffValueDecoder decoder(block);
  for (const TiffEntry& entry : directory.entries) {
    if (exif_tag::isPointer(entry.tag)) continue;
    const std::string key = tagKey(group, entry.tag);
    if (properties.contains(key)) continue;  // the first of a repeated tag counts
    if (auto value = decoder.decode(entry)) properties.set(key, std::move(*value));
  }
  return properties;
}

void addDirectory(PropertyDictionary& properties, std::string_view key, const TiffBlock& block,
                  const TiffDirectory& directory, TagGroup group) {
  PropertyDictionary entries = directoryProperties(block, directory, group);
  if (!entries.empty()) properties.set(key, std::move(entries));
}

std::string makeOf(const ExifDirectories& directories) {
  const TiffEntry* const entry = directories.first.find(exif_tag::kMake);
  const auto value = entry == nullptr ? std::nullopt : TiffValueDecoder(directories.block).decode(*entry);
  const auto* const text = value ? value->as<std::string>() : nullptr;
  return text == nullptr ? std::string() : *text;
}

void addExifProperties(ByteView exif, PropertyDictionary& properties) {
  const auto directories = readExifDirectories(exif);
  if (!directories) return;
  const TiffBlock& block = directories->block;
  addDirectory(properties, property_key::kTiff, block, directories->first, TagGroup::tiff);
  if (directories->gps) addDirectory(properties, property_key::kGps, block, *directories->gps, TagGroup::gps);
  if (!directories->exif) return;
  addDirectory(properties, property_key::kExif, block, *directories->exif, TagGroup::exif);
  if (const TiffEntry* const note = directories->exif->find(exif_tag::kMakerNote)) {
    auto maker = readMakerNote(block, *note, makeOf(*directories));
    if (maker) properties.set(maker->key, std::move(maker->entries));
  }
}

/// The positive number that a resolution entry holds, else absent.
std::optional<double> resolutionValue(const TiffBlock& block, const TiffDirectory& directory, std::uint16_t tag) {
  const TiffEntry* const entry = directory.find(tag);
  const auto value = entry == nullptr ? std::nullopt : TiffValueDecoder(block).decode(*entry);
  if (!value) return std::nullopt;
  double number = 0;
  if (const auto* const rational = value->as<Rational>(); rational != nullptr && rational->denominator != 0) {
    number = static_cast<double>(rational->numerator) / static_cast<double>(rational->denominator);
  } else if (const auto* const integer = value->as<std::int64_t>()) {
    number = static_cast<double>(*integer);
  } else if (const auto* const unsignedInteger = value->as<std::uint32_t>()) {
    number = *unsignedInteger;
  } else if (const auto* const real = value->as<double>()) {
    number = *real;
  }
  return std::isfinite(number) && number > 0 ? std::optional(number) : std::nullopt;
}

/// Inches per unit of the resolution entries; absent where they give a ratio only (TIFF 6.0, ResolutionUnit).
std::optional<double> inchesPerUnit(const TiffBlock& block, const TiffDirectory& directory) {
  const TiffEntry* const entry = directory.find(exif_tag::kResolutionUnit);
  const auto unit = entry == nullptr ? std::optional<std::uint32_t>(2) : unsignedValue(block, *entry);
  if (unit == 2U) return 1.0;
  if (unit == 3U) return kInchesPerCentimetre;
  return std::nullopt;
}

/// Runs `add`; memory that cannot be had leaves out what it would have added.
template <typename Add>
void addIfMemoryAllows(const Add& add) {
  try {
    add();
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace

void addMetadataProperties(const MetadataBlocks& blocks, PropertyDictionary& properties) {
  if (blocks.exif) addIfMemoryAllows([&] { addExifProperties(*blocks.exif, properties); });
  if (blocks.iptc) {
    addIfMemoryAllows([&] {
      PropertyDictionary iptc = iptcProperties(*blocks.iptc);
      if (!iptc.empty()) properties.set(property_key::kIptc, std::move(iptc));
    });
  }
  if (blocks.xmp && !blocks.xmp->empty()) {
    addIfMemoryAllows([&] { properties.set(property_key::kXmp, Bytes(*blocks.xmp)); });
  }
}

std::optional<int> exifOrientation(ByteView exif) {
  const auto directories = readExifDirectories(exif);
  const TiffEntry* const entry = directories ? directories->first.find(exif_tag::kOrientation) : nullptr;
  const auto value = entry == nullptr ? std::nullopt : unsignedValue(directories->block, *entry);
  if (!value || *value < 1 || *value > 8) return std::nullopt;
  return static_cast<int>(*value);
}

ExifResolution exifResolution(ByteView exif) {
  const auto directories = readExifDirectories(exif);
  if (!directories) return {};
  const auto inches = inchesPerUnit(directories->block, directories->first);
  if (!inches) return {};
  ExifResolution resolution;
  resolution.dpiWidth = resolutionValue(directories->block, directories->first, exif_tag::kXResolution);
  resolution.dpiHeight = resolutionValue(directories->block, directories->first, exif_tag::kYResolution);
  if (resolution.dpiWidth) *resolution.dpiWidth /= *inches;
  if (resolution.dpiHeight) *resolution.dpiHeight /= *inches;
  return resolution;
}

}  // namespace quellor
