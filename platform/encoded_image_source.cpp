#include "platform/encoded_image_source.h"

#include <algorithm>
#include <utility>

#include "platform/image_properties.h"

namespace quellor {
namespace {

using Kind = AuxiliaryImage::Kind;

std::optional<Kind> kindNamed(std::string_view type) {
  if (type == auxiliary_data_type::kDepth) return Kind::depth;
  if (type == auxiliary_data_type::kDisparity) return Kind::disparity;
  if (type == auxiliary_data_type::kPortraitEffectsMatte) return Kind::portraitEffectsMatte;
  if (type == auxiliary_data_type::kSemanticSegmentationMatte) return Kind::semanticSegmentationMatte;
  if (type == auxiliary_data_type::kHdrGainMap) return Kind::hdrGainMap;
  return std::nullopt;
}

}  // namespace

EncodedImageSource::EncodedImageSource(FileContents file, ImageFacts facts, const ImageFormat& format)
    : file_(std::move(file)),
      facts_(std::move(facts)),
      format_(format),
      color_(colorSpaceOf(facts_.colorModel, facts_.iccProfile, facts_.cicp)) {}

std::optional<PropertyDictionary> EncodedImageSource::propertiesAt(std::size_t index) const {
  if (index != 0 || count() == 0) return std::nullopt;
  return imageProperties(facts_, color_.profileName);
}

std::optional<Image> EncodedImageSource::imageAt(std::size_t index) const {
  if (index != 0 || count() == 0) return std::nullopt;
  auto raster = format_.decode(file_.view());
  if (!raster) return std::nullopt;
  const ColorModel model = colorModelOf(raster->model);
  // Some files tell only in the bitstream that they are grey.
  const bool asTold = model == facts_.colorModel;
  const ImageColor color = asTold ? color_ : colorSpaceOf(model, facts_.iccProfile, facts_.cicp);
  return Image{std::move(*raster), color.space};
}

std::optional<PropertyDictionary> EncodedImageSource::auxiliaryDataInfoAt(std::size_t index,
                                                                          std::string_view type) const {
  const auto kind = kindNamed(type);
  if (index != 0 || !kind) return std::nullopt;
  const auto image = std::find_if(facts_.auxiliaryImages.begin(), facts_.auxiliaryImages.end(),
                                  [&](const AuxiliaryImage& each) { return each.kind == *kind; });
  if (image == facts_.auxiliaryImages.end()) return std::nullopt;
  PropertyDictionary info;
  info.set("Width", std::int64_t{image->width});
  info.set("Height", std::int64_t{image->height});
  info.set("Type", image->type);
  return info;
}

}  // namespace quellor
