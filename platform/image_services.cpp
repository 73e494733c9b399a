#include "platform/image_services.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "platform/color_space.h"
#include "platform/files/regular_file.h"
#include "platform/formats/image_format.h"
#include "platform/image_properties.h"
#include "platform/values/sha256.h"

namespace quellor {

/// What was found whole in this run, by the digest of the file that it is in.
class KnownImages {
 public:
  /// Null where the image is not whole.
  std::shared_ptr<const Look> lookAt(ByteView file, const ImageFormat& format) {
    auto& known = looks_[sha256(file)];
    if (known == nullptr) {
      auto look = format.look(file);
      if (look) known = std::make_shared<const Look>(std::move(*look));
    }
    return known;
  }

 private:
  std::map<std::array<std::uint8_t, 32>, std::shared_ptr<const Look>> looks_;
};

namespace {

/// Enough for the brands of every HEIF file that has been seen.
constexpr std::size_t kHeadBytes = 4096;

/// A photo of 200 megapixels takes up to 100 MB as HEIF and 2.4 GB as an uncompressed 16-bit TIFF.
constexpr std::uint64_t kMaximumFileBytes = std::uint64_t{4} << 30;

using Kind = AuxiliaryImage::Kind;

std::optional<Kind> kindNamed(std::string_view type) {
  if (type == auxiliary_data_type::kDepth) return Kind::depth;
  if (type == auxiliary_data_type::kDisparity) return Kind::disparity;
  if (type == auxiliary_data_type::kPortraitEffectsMatte) return Kind::portraitEffectsMatte;
  if (type == auxiliary_data_type::kSemanticSegmentationMatte) return Kind::semanticSegmentationMatte;
  if (type == auxiliary_data_type::kHdrGainMap) return Kind::hdrGainMap;
  return std::nullopt;
}

/// An image source on a file in memory and its format.
class EncodedImageSource final : public ImageSource {
 public:
  /// `format` outlives the source and its images.
  EncodedImageSource(FileContents file, ImageFacts facts, const ImageFormat& format,
                     std::shared_ptr<KnownImages> known);

  [[nodiscard]] std::size_t count() const override { return facts_.imageCount; }
  [[nodiscard]] std::optional<PropertyDictionary> propertiesAt(std::size_t index) const override;
  [[nodiscard]] std::optional<Image> imageAt(std::size_t index) const override;
  [[nodiscard]] ByteView file() const override { return file_->view(); }
  [[nodiscard]] std::optional<PropertyDictionary> auxiliaryDataInfoAt(std::size_t index,
                                                                      std::string_view type) const override;

 private:
  std::shared_ptr<const FileContents> file_;  // images may need it longer than the source lives
  ImageFacts facts_;
  const ImageFormat& format_;
  std::shared_ptr<KnownImages> known_;
  mutable std::shared_ptr<const Look> look_;  // once there was one
  ImageColor color_;                          // for the colour model that the facts tell
};

EncodedImageSource::EncodedImageSource(FileContents file, ImageFacts facts, const ImageFormat& format,
                                       std::shared_ptr<KnownImages> known)
    : file_(std::make_shared<const FileContents>(std::move(file))),
      facts_(std::move(facts)),
      format_(format),
      known_(std::move(known)),
      color_(colorSpaceOf(facts_.colorModel, facts_.iccProfile, facts_.cicp)) {}

std::optional<PropertyDictionary> EncodedImageSource::propertiesAt(std::size_t index) const {
  if (index != 0 || count() == 0) return std::nullopt;
  return imageProperties(facts_, color_.profileName);
}

std::optional<Image> EncodedImageSource::imageAt(std::size_t index) const {
  if (index != 0 || count() == 0) return std::nullopt;
  if (look_ == nullptr) look_ = known_->lookAt(file(), format_);
  if (look_ == nullptr) return std::nullopt;
  const ColorModel model = colorModelOf(look_->shape.model);
  // Some files tell only in the bitstream that they are grey.
  const bool asTold = model == facts_.colorModel;
  const ImageColor color = asTold ? color_ : colorSpaceOf(model, facts_.iccProfile, facts_.cicp);
  if (look_->raster) return Image(*look_->raster, color.space);
  return Image(look_->shape, color.space, [file = file_, format = &format_]() -> std::optional<Raster> {
    auto raster = format->decode(file->view());
    return raster ? std::optional(std::move(*raster)) : std::nullopt;
  });
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

}  // namespace

SystemImageServices::SystemImageServices() : known_(std::make_shared<KnownImages>()) {}

std::unique_ptr<ImageSource> SystemImageServices::openSource(const std::string& path) const {
  const auto file = RegularFile::open(path);
  if (!file) return nullptr;
  const ImageFormat* const format = formatOf(file->head(kHeadBytes));
  if (format == nullptr) return nullptr;
  auto contents = file->contents(kMaximumFileBytes);
  if (!contents) return nullptr;
  auto facts = format->describe(contents->view());
  if (!facts) return nullptr;
  return std::make_unique<EncodedImageSource>(std::move(*contents), std::move(*facts), *format, known_);
}

std::unique_ptr<ImageDestination> SystemImageServices::createDestination(const std::string& path) const {
  return createHeicDestination(path);
}

std::unique_ptr<BitmapContext> SystemImageServices::createBitmapContext(std::int64_t width, std::int64_t height,
                                                                        const ColorSpace& space,
                                                                        std::span<std::uint8_t> pixels) const {
  return bitmapContextOver(pixels, width, height, space);
}

}  // namespace quellor
