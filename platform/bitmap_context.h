#pragma once
#include <cstdint>
#include <memory>
#include <span>

#include "platform/image.h"

namespace quellor {

/// A place to draw one image: 8-bit red, green, blue and a skipped fourth byte per pixel, rows of exactly width * 4
/// bytes from the top.
class BitmapContext {
 public:
  virtual ~BitmapContext() = default;

  /// Draws an image of exactly the context's size over black, as it is stored and without changing its colour space.
  /// False, with nothing drawn, for another size, for samples without three colour components, and where there are no
  /// samples or no memory. Raises MissingModule as Image::raster() does.
  [[nodiscard]] virtual bool draw(const Image& image) const = 0;
};

/// A context over `pixels`, which has width * height * 4 bytes and outlives it. Null for a colour space without three
/// components and for other sizes.
std::unique_ptr<BitmapContext> bitmapContextOver(std::span<std::uint8_t> pixels, std::int64_t width,
                                                 std::int64_t height, const ColorSpace& space);

}  // namespace quellor
