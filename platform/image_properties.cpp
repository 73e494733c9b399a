#include "platform/image_properties.h"

#include <memory>

#include "platform/metadata/metadata_properties.h"
#include "platform/metadata/packet_twins.h"

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

std::optional<int> orientationOf(const EncodedFacts& facts) {
  if (facts.orientation) return facts.orientation;
  const auto exif = facts.metadata.exif ? exifOrientation(*facts.metadata.exif) : std::nullopt;
  if (!exif) return std::nullopt;
  return facts.exifOrientationCounts ? *exif : 1;
}

void setResolution(const EncodedFacts& facts, PropertyDictionary& properties) {
  const ExifResolution exif = facts.metadata.exif ? exifResolution(*facts.metadata.exif) : ExifResolution{};
  const auto width = facts.dpiWidth ? facts.dpiWidth : exif.dpiWidth;
  const auto height = facts.dpiHeight ? facts.dpiHeight : exif.dpiHeight;
  if (width) properties.set(property_key::kDpiWidth, *width);
  if (height) properties.set(property_key::kDpiHeight, *height);
}

}  // namespace

PropertyDictionary imageProperties(const EncodedFacts& facts, const std::optional<std::string>& profileName,
                                   const XmpEngine* xmp) {
  PropertyDictionary properties = facts.formatProperties;
  properties.set(property_key::kColorModel, nameOf(facts.colorModel));
  properties.set(property_key::kDepth, facts.bitsPerComponent);
  properties.set(property_key::kPixelWidth, std::int64_t{facts.width});
  properties.set(property_key::kPixelHeight, std::int64_t{facts.height});
  if (facts.hasAlpha) properties.set(property_key::kHasAlpha, true);
  if (const auto orientation = orientationOf(facts)) properties.set(property_key::kOrientation, *orientation);
  if (profileName) properties.set(property_key::kProfileName, *profileName);
  if (facts.primaryImage) properties.set(property_key::kPrimaryImage, 0);
  setResolution(facts, properties);
  addMetadataProperties(facts.metadata, properties);
  if (xmp != nullptr && facts.metadata.xmp) addPacketTwins(*facts.metadata.xmp, *xmp, properties);
  properties.rememberBlocks(std::make_shared<const MetadataBlocks>(facts.metadata));
  return properties;
}

}  // namespace quellor
