#include "storage/storage_decode.h"

#include <array>

#include "observe/image_access.h"

namespace quellor {
namespace {

constexpr std::size_t kPrimaryIndex = 0;

/// By the numbers of AlphaInfo.
constexpr std::array<std::string_view, 8> kAlphaInfoLabels = {
    "none", "premultipliedLast", "premultipliedFirst", "last", "first", "noneSkipLast", "noneSkipFirst", "alphaOnly"};

/// Gives the fourth bytes that the drawing left at 0 a value that reads as opaque.
void makeFourthBytesOpaque(std::span<std::uint8_t> pixels) {
  constexpr auto kStep = static_cast<std::size_t>(storageBytesPerPixel);
  for (std::size_t i = kStep - 1; i < pixels.size(); i += kStep) {
    if (pixels[i] == 0) pixels[i] = 255;
  }
}

PixelBuffer drawnPixels(const ImageServices& images, const Image& image, const ColorSpace& space) {
  const std::int64_t width = image.width();
  const std::int64_t height = image.height();
  PixelBuffer pixels = PixelBuffer::zeroed(storageByteCount(width, height));
  const auto context = images.createBitmapContext(width, height, space, pixels.bytes());
  // A drawing that fails is no context after all: black pixels would pass for the image.
  if (!context || !context->draw(image)) throw StorageError::rgbaDrawFailed();
  makeFourthBytesOpaque(pixels.bytes());
  return pixels;
}

}  // namespace

Image loadStorageCGImage(const ImageServices& images, const std::string& heicPath) {
  const auto source = images.openSource(heicPath);
  if (source == nullptr) throw StorageError::imageSourceCreateFailed();
  auto image = source->imageAt(kPrimaryIndex);
  if (!image) throw StorageError::noPrimaryImage();
  return std::move(*image);
}

std::pair<PixelBuffer, StoragePixelExportMeta> normalizeToRGBA8StoragePixels(const ImageServices& images,
                                                                             const Image& image) {
  if (!image.colorSpace()) throw StorageError::missingColorSpace();
  if (image.width() < 1 || image.height() < 1) throw StorageError::invalidDimensions();
  PixelBuffer pixels = drawnPixels(images, image, *image.colorSpace());
  StoragePixelExportMeta meta;
  meta.width = image.width();
  meta.height = image.height();
  meta.alphaInfo = alphaInfoLabel(static_cast<std::uint32_t>(image.alphaInfo()));
  meta.colorSpaceName = image.colorSpace()->name();
  meta.iccSHA256 = iccInfo(image.colorSpace()).sha256;
  return {std::move(pixels), std::move(meta)};
}

std::string_view alphaInfoLabel(std::uint32_t alphaInfo) {
  return alphaInfo < kAlphaInfoLabels.size() ? kAlphaInfoLabels[alphaInfo] : "unknown";
}

}  // namespace quellor
