#include "platform/image_services.h"

#include <utility>

#include "platform/encoded_image_source.h"
#include "platform/files/regular_file.h"
#include "platform/formats/image_format.h"
#include "platform/heic_destination.h"

namespace quellor {
namespace {

/// Enough for the brands of every HEIF file that has been seen.
constexpr std::size_t kHeadBytes = 4096;

/// A photo of 200 megapixels takes up to 100 MB as HEIF and 2.4 GB as an uncompressed 16-bit TIFF.
constexpr std::uint64_t kMaximumFileBytes = std::uint64_t{4} << 30;

}  // namespace

std::unique_ptr<ImageSource> SystemImageServices::openSource(const std::string& path) const {
  const auto file = RegularFile::open(path);
  if (!file) return nullptr;
  const ImageFormat* const format = formatOf(file->head(kHeadBytes));
  if (format == nullptr) return nullptr;
  auto contents = file->contents(kMaximumFileBytes);
  if (!contents) return nullptr;
  auto facts = format->describe(contents->view());
  if (!facts) return nullptr;
  return std::make_unique<EncodedImageSource>(std::move(*contents), std::move(*facts), *format);
}

std::unique_ptr<ImageDestination> SystemImageServices::createDestination(const std::string& path) const {
  return HeicDestination::create(path);
}

std::unique_ptr<BitmapContext> SystemImageServices::createBitmapContext(std::int64_t width, std::int64_t height,
                                                                        const ColorSpace& space,
                                                                        std::span<std::uint8_t> pixels) const {
  return bitmapContextOver(pixels, width, height, space);
}

}  // namespace quellor
