#include "platform/bitmap_context.h"

#include <new>

#include "platform/pixels/rgbx_drawing.h"

namespace quellor {
namespace {

constexpr std::int64_t kBytesPerPixel = 4;

/// Divides the room that is there, so that no product of the sizes can overflow.
bool fills(std::int64_t width, std::int64_t height, std::size_t room) {
  if (width < 1 || height < 1) return false;
  const auto bytes = static_cast<std::int64_t>(room);
  return bytes % kBytesPerPixel == 0 && bytes / kBytesPerPixel % width == 0 && bytes / kBytesPerPixel / width == height;
}

class RgbxContext final : public BitmapContext {
 public:
  RgbxContext(std::span<std::uint8_t> pixels, std::int64_t width, std::int64_t height)
      : pixels_(pixels), width_(width), height_(height) {}

  [[nodiscard]] bool draw(const Image& image) const override {
    if (image.width() != width_ || image.height() != height_) return false;
    try {
      const Raster* const raster = image.raster();
      return raster != nullptr && pixels::drawRgbx(*raster, pixels_);
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

 private:
  std::span<std::uint8_t> pixels_;
  std::int64_t width_;
  std::int64_t height_;
};

}  // namespace

std::unique_ptr<BitmapContext> bitmapContextOver(std::span<std::uint8_t> pixels, std::int64_t width,
                                                 std::int64_t height, const ColorSpace& space) {
  if (componentCount(space.model()) != 3 || !fills(width, height, pixels.size())) return nullptr;
  return std::make_unique<RgbxContext>(pixels, width, height);
}

}  // namespace quellor
