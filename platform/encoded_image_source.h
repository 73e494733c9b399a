#pragma once
#include "platform/codecs/codec.h"
#include "platform/color/color_space_of.h"
#include "platform/image_source.h"
#include "platform/metadata/xmp_engine.h"
#include "platform/regular_file.h"

namespace quellor {

/// An image source on a file in memory and the codec of its format.
class EncodedImageSource final : public ImageSource {
 public:
  /// `codec`, `colors` and `xmp` outlive the source.
  EncodedImageSource(FileContents file, EncodedFacts facts, const Codec& codec, const ColorEngine& colors,
                     const XmpEngine& xmp);

  [[nodiscard]] std::size_t count() const override { return facts_.imageCount; }
  [[nodiscard]] std::optional<PropertyDictionary> propertiesAt(std::size_t index) const override;
  [[nodiscard]] std::optional<Image> imageAt(std::size_t index) const override;
  [[nodiscard]] ByteView file() const override { return file_.view(); }
  [[nodiscard]] std::optional<PropertyDictionary> auxiliaryDataInfoAt(std::size_t index,
                                                                      std::string_view type) const override;

 private:
  FileContents file_;
  EncodedFacts facts_;
  const Codec& codec_;
  const ColorEngine& colors_;
  const XmpEngine& xmp_;
  ImageColor color_;  // for the colour model that the facts tell
};

}  // namespace quellor
