#include "platform/image_properties.h"

#include <memory>
#include <utility>

#include "platform/metadata/exif_prefix.h"
#include "platform/metadata/metadata_properties.h"

namespace quellor {
namespace {

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

std::optional<int> orientationOf(const EncodedFacts& facts, const ExifSummary& exif) {
  if (facts.orientation) return facts.orientation;
  if (!exif.orientation) return std::nullopt;
  return facts.exifOrientationCounts ? *exif.orientation : 1;
}

/// The Exif block and what it says; without a block when nothing of it could be read.
struct ReadExif {
  std::optional<Bytes> block;
  ExifSummary summary;
};

ReadExif readExif(const EncodedFacts& facts, PropertyDictionary& properties) {
  if (!facts.metadata.exif) return {};
  const auto block = metadata::exifBlockIn(*facts.metadata.exif);
  if (!block) return {};
  const ExifSummary summary = addExifProperties(*block, properties);
  return {summary.contributed ? std::optional(Bytes(block->begin(), block->end())) : std::nullopt, summary};
}

}  // namespace

PropertyDictionary imageProperties(const EncodedFacts& facts, const std::optional<std::string>& profileName,
                                   const XmpEngine& xmp) {
  PropertyDictionary properties = facts.formatProperties;
  ReadExif exif = readExif(facts, properties);
  if (facts.metadata.iptc) addIptcProperties(*facts.metadata.iptc, properties);
  if (facts.metadata.xmp) addPacketProperties(*facts.metadata.xmp, xmp, properties);

  properties.set(property_key::kColorModel, nameOf(facts.colorModel));
  properties.set(property_key::kDepth, facts.bitsPerComponent);
  properties.set(property_key::kPixelWidth, std::int64_t{facts.width});
  properties.set(property_key::kPixelHeight, std::int64_t{facts.height});
  if (facts.hasAlpha) properties.set(property_key::kHasAlpha, true);
  if (const auto orientation = orientationOf(facts, exif.summary))
    properties.set(property_key::kOrientation, *orientation);
  if (profileName) properties.set(property_key::kProfileName, *profileName);
  if (facts.primaryImage) properties.set(property_key::kPrimaryImage, 0);
  if (const auto dpi = facts.dpiWidth ? facts.dpiWidth : exif.summary.dpiWidth)
    properties.set(property_key::kDpiWidth, *dpi);
  if (const auto dpi = facts.dpiHeight ? facts.dpiHeight : exif.summary.dpiHeight) {
    properties.set(property_key::kDpiHeight, *dpi);
  }
  properties.rememberBlocks(std::make_shared<const MetadataBlocks>(
      MetadataBlocks{std::move(exif.block), facts.metadata.xmp, facts.metadata.iptc}));
  return properties;
}

}  // namespace quellor
