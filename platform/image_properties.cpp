#include "platform/image_properties.h"

#include <memory>
#include <utility>

#include "platform/metadata/exif_prefix.h"
#include "platform/metadata/metadata_summary.h"

namespace quellor {
namespace {

using namespace property_key;

const char* nameOf(ColorModel model) {
  switch (model) {
    case ColorModel::grey:
      return "Gray";
    case ColorModel::rgb:
      return "RGB";
    case ColorModel::cmyk:
      return "CMYK";
  }
  return "";
}

std::optional<int> orientationOf(const ImageFacts& facts, const MetadataSummary& metadata) {
  if (facts.orientation) return facts.orientation;
  if (!metadata.orientation) return std::nullopt;
  return facts.exifOrientationCounts ? *metadata.orientation : 1;
}

void addNested(PropertyDictionary& properties, std::string_view group, std::string_view key) {
  if (!properties.contains(group)) properties.set(group, PropertyDictionary{});
  properties.find(group)->as<PropertyDictionary>()->set(key, true);
}

void addMetadata(const MetadataSummary& metadata, PropertyDictionary& properties) {
  if (metadata.tiff) properties.set(kTiff, PropertyDictionary{});
  if (metadata.exif) properties.set(kExif, PropertyDictionary{});
  if (metadata.position) properties.set(kGps, PropertyDictionary{});
  if (metadata.make) addNested(properties, kTiff, kTiffMake);
  if (metadata.model) addNested(properties, kTiff, kTiffModel);
  if (metadata.makerNote) addNested(properties, kExif, kExifMakerNote);
  for (const std::string_view maker : metadata.makers) properties.set(maker, PropertyDictionary{});
  if (metadata.iptc) properties.set(kIptc, PropertyDictionary{});
  if (metadata.packet) properties.set(kXmp, PropertyDictionary{});
}

void addFormatDictionary(FormatDictionary dictionary, PropertyDictionary& properties) {
  switch (dictionary) {
    case FormatDictionary::none:
      return;
    case FormatDictionary::jfif:
      return properties.set(kJfif, PropertyDictionary{});
    case FormatDictionary::png:
      return properties.set(kPng, PropertyDictionary{});
    case FormatDictionary::gif:
      return properties.set(kGif, PropertyDictionary{});
  }
}

/// The blocks of the file, the Exif block without what may stand before it.
MetadataBlocks blocksOf(const ImageFacts& facts) {
  MetadataBlocks blocks = facts.metadata;
  const auto exif = blocks.exif ? metadata::exifBlockIn(*blocks.exif) : std::nullopt;
  if (exif) {
    blocks.exif = Bytes(exif->begin(), exif->end());
  } else {
    blocks.exif.reset();
  }
  return blocks;
}

}  // namespace

PropertyDictionary imageProperties(const ImageFacts& facts, const std::optional<std::string>& profileName) {
  MetadataBlocks blocks = blocksOf(facts);
  const MetadataSummary metadata = summaryOf(blocks);
  if (!metadata.exifReadable) blocks.exif.reset();

  PropertyDictionary properties;
  properties.set(kColorModel, nameOf(facts.colorModel));
  properties.set(kDepth, facts.bitsPerComponent);
  properties.set(kPixelWidth, std::int64_t{facts.width});
  properties.set(kPixelHeight, std::int64_t{facts.height});
  if (facts.hasAlpha) properties.set(kHasAlpha, true);
  if (const auto orientation = orientationOf(facts, metadata)) properties.set(kOrientation, *orientation);
  if (profileName) properties.set(kProfileName, *profileName);
  if (facts.primaryImage) properties.set(kPrimaryImage, 0);
  if (const auto dpi = facts.dpiWidth ? facts.dpiWidth : metadata.dpiWidth) properties.set(kDpiWidth, *dpi);
  if (const auto dpi = facts.dpiHeight ? facts.dpiHeight : metadata.dpiHeight) properties.set(kDpiHeight, *dpi);
  addMetadata(metadata, properties);
  addFormatDictionary(facts.formatDictionary, properties);
  properties.rememberBlocks(std::make_shared<const MetadataBlocks>(std::move(blocks)));
  return properties;
}

MetadataRemovals removalsOf(const PropertyDictionary& properties) {
  MetadataRemovals removals;
  removals.position = properties.wasRemoved(kGps);
  removals.make = properties.wasRemoved(kTiff, kTiffMake);
  removals.model = properties.wasRemoved(kTiff, kTiffModel);
  removals.makerNote = properties.wasRemoved(kExif, kExifMakerNote) || properties.wasAnyRemoved(kMakerPrefix);
  removals.packet = properties.wasRemoved(kXmp);
  return removals;
}

}  // namespace quellor
