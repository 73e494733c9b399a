#include "platform/image_services.h"

#include <utility>

#include "platform/codecs/codec.h"
#include "platform/codecs/file_format.h"
#include "platform/color/color_engine.h"
#include "platform/encoded_image_source.h"
#include "platform/heic_destination.h"
#include "platform/pixels/pixel_engine.h"
#include "platform/regular_file.h"

namespace quellor {
namespace {

/// Enough for the brands of every HEIF file that has been seen.
constexpr std::size_t kHeadBytes = 4096;

/// A photo of 200 megapixels takes up to 100 MB as HEIF and 2.4 GB as an uncompressed 16-bit TIFF.
constexpr std::uint64_t kMaximumFileBytes = std::uint64_t{4} << 30;

}  // namespace

std::unique_ptr<ImageSource> CodecImageServices::openSource(const std::string& path) const {
  const auto file = RegularFile::open(path);
  if (!file) return nullptr;
  const auto format = recogniseFormat(file->head(kHeadBytes));
  if (!format) return nullptr;
  const Codec* const codec = modules_.open<Codec>(moduleNameOf(*format), kCodecEntry);
  if (codec == nullptr) return nullptr;
  auto contents = file->contents(kMaximumFileBytes);
  if (!contents) return nullptr;
  auto facts = codec->describe(contents->view());
  if (!facts) return nullptr;
  // Without these nobody could tell what the image's colours are, or what has to be removed from its metadata.
  const auto* const colors = modules_.open<ColorEngine>("color", kColorEngineEntry);
  const auto* const xmp = modules_.open<XmpEngine>("xmp", kXmpEngineEntry);
  if (colors == nullptr || xmp == nullptr) return nullptr;
  return std::make_unique<EncodedImageSource>(std::move(*contents), std::move(*facts), *codec, *colors, *xmp);
}

std::unique_ptr<ImageDestination> CodecImageServices::createDestination(const std::string& path) const {
  return HeicDestination::create(path, modules_);
}

std::optional<BitmapContext> CodecImageServices::createBitmapContext(std::int64_t width, std::int64_t height,
                                                                     const ColorSpace& space,
                                                                     std::span<std::uint8_t> pixels) const {
  const auto* const engine = modules_.open<PixelEngine>("pixels", kPixelEngineEntry);
  return BitmapContext::create(engine, width, height, space, pixels);
}

}  // namespace quellor
