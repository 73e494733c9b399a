#include "platform/bitmap_context.h"

#include "platform/pixels/pixel_engine.h"

namespace quellor {
namespace {

constexpr std::int64_t kBytesPerPixel = 4;

/// Divides the room that is there, so that no product of the sizes can overflow.
bool fills(std::int64_t width, std::int64_t height, std::size_t room) {
  if (width < 1 || height < 1) return false;
  const auto bytes = static_cast<std::int64_t>(room);
  return bytes % kBytesPerPixel == 0 && bytes / kBytesPerPixel % width == 0 && bytes / kBytesPerPixel / width == height;
}

}  // namespace

std::optional<BitmapContext> BitmapContext::create(const PixelEngine* engine, std::int64_t width, std::int64_t height,
                                                   const ColorSpace& space, std::span<std::uint8_t> pixels) {
  if (engine == nullptr || componentCount(space.model()) != 3 || !fills(width, height, pixels.size()))
    return std::nullopt;
  return BitmapContext(*engine, width, height, pixels);
}

bool BitmapContext::draw(const Image& image) const {
  if (image.width() != width_ || image.height() != height_) return false;
  return engine_.drawRgbx(image.raster, pixels_);
}

}  // namespace quellor
