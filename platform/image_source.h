#pragma once
#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/image.h"
#include "platform/properties.h"

namespace quellor {

/// Identifiers that auxiliaryDataInfoAt() takes.
namespace auxiliary_data_type {
inline constexpr std::string_view kDepth = "kCGImageAuxiliaryDataTypeDepth";
inline constexpr std::string_view kDisparity = "kCGImageAuxiliaryDataTypeDisparity";
inline constexpr std::string_view kPortraitEffectsMatte = "kCGImageAuxiliaryDataTypePortraitEffectsMatte";
inline constexpr std::string_view kSemanticSegmentationMatte = "auxiliaryDataSemanticSegmentationMatt";
inline constexpr std::string_view kHdrGainMap = "auxiliaryDataHDRGainMap";
}  // namespace auxiliary_data_type

/// An image file that was opened and whose structure is sound.
///
/// Image 0 is the primary image of a HEIF file, the first page or frame of another one. It is the only one that this
/// system describes and decodes: every question about another index is answered with absence.
class ImageSource {
 public:
  virtual ~ImageSource() = default;

  /// How many images, pages or frames the file holds.
  [[nodiscard]] virtual std::size_t count() const = 0;

  /// Absent when there is no such image. The keys are those of platform/properties.h.
  [[nodiscard]] virtual std::optional<PropertyDictionary> propertiesAt(std::size_t index) const = 0;

  /// The image, known to be whole: every one of its coded samples was read without an error, though not every format
  /// needs the samples to be reconstructed for that. They are made when the image is asked for them, which it may be
  /// after the end of the source. Absent when there is no such image or any of it is missing or damaged. What was found
  /// whole once is recognised by its content and not examined again.
  [[nodiscard]] virtual std::optional<Image> imageAt(std::size_t index) const = 0;

  /// The whole file as it was read when the source was opened. Valid as long as the source.
  [[nodiscard]] virtual ByteView file() const = 0;

  /// Facts about the auxiliary image of that type (Width, Height, Type), or absent when the image has none.
  [[nodiscard]] virtual std::optional<PropertyDictionary> auxiliaryDataInfoAt(std::size_t index,
                                                                              std::string_view type) const = 0;
};

}  // namespace quellor
