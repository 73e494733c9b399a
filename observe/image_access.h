#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/image_source.h"
#include "platform/properties.h"

/// Small questions about images that observation and the writers share.
namespace quellor {

inline constexpr std::string_view orientationKey = property_key::kOrientation;
inline constexpr std::string_view exifKey = property_key::kExif;
inline constexpr std::string_view gpsKey = property_key::kGps;
inline constexpr std::string_view tiffKey = property_key::kTiff;

/// What an observation calls an auxiliary image, and what the platform calls it.
struct AuxiliaryTypeKey {
  std::string_view label;
  std::string_view type;
};

inline constexpr std::array<AuxiliaryTypeKey, 5> auxiliaryTypeKeys = {{
    {"depth", auxiliary_data_type::kDepth},
    {"disparity", auxiliary_data_type::kDisparity},
    {"portrait_effects_matte", auxiliary_data_type::kPortraitEffectsMatte},
    {"semantic_segmentation_matte", auxiliary_data_type::kSemanticSegmentationMatte},
    {"hdr_gain_map", auxiliary_data_type::kHdrGainMap},
}};

/// Properties of one image; absent is not the same as empty.
std::optional<PropertyDictionary> propertiesAtIndex(const ImageSource& source, std::size_t index);

/// The orientation that stands at the top level of the properties, when it is an integer, an unsigned integer or a
/// number (truncated). Nothing is substituted for a missing one.
std::optional<std::int64_t> orientationFromProperties(const std::optional<PropertyDictionary>& properties);

/// Decodes an image. Raises HelperFailure "no_primary_image".
Image createPrimaryCGImage(const ImageSource& source, std::size_t index);

/// Size in bytes and digest of an ICC profile; both present or both absent.
struct IccInfo {
  std::optional<std::int64_t> bytes;
  std::optional<std::string> sha256;
};
IccInfo iccInfo(const std::optional<ColorSpace>& colorSpace);

/// The SHA-256 digest of `data` as 64 lowercase hexadecimal digits.
std::string SHA256Hex(ByteView data);

}  // namespace quellor
