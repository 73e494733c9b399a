#pragma once
#include "platform/color_space_of.h"
#include "platform/files/regular_file.h"
#include "platform/formats/image_format.h"
#include "platform/image_source.h"
#include "platform/values/image_facts.h"

namespace quellor {

/// An image source on a file in memory and its format.
class EncodedImageSource final : public ImageSource {
 public:
  /// `format` outlives the source.
  EncodedImageSource(FileContents file, ImageFacts facts, const ImageFormat& format);

  [[nodiscard]] std::size_t count() const override { return facts_.imageCount; }
  [[nodiscard]] std::optional<PropertyDictionary> propertiesAt(std::size_t index) const override;
  [[nodiscard]] std::optional<Image> imageAt(std::size_t index) const override;
  [[nodiscard]] ByteView file() const override { return file_.view(); }
  [[nodiscard]] std::optional<PropertyDictionary> auxiliaryDataInfoAt(std::size_t index,
                                                                      std::string_view type) const override;

 private:
  FileContents file_;
  ImageFacts facts_;
  const ImageFormat& format_;
  ImageColor color_;  // for the colour model that the facts tell
};

}  // namespace quellor
