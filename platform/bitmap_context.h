#pragma once
#include <cstdint>
#include <optional>
#include <span>

#include "platform/color_space.h"
#include "platform/image.h"

namespace quellor {

/// A place to draw one image: 8-bit red, green, blue and a skipped fourth byte per pixel, rows of exactly width * 4
/// bytes from the top.
class BitmapContext {
 public:
  /// A context over `pixels`, which has width * height * 4 bytes and outlives it. Absent for a colour space without
  /// three components and for other sizes.
  static std::optional<BitmapContext> create(std::int64_t width, std::int64_t height, const ColorSpace& space,
                                             std::span<std::uint8_t> pixels);

  /// Draws an image of exactly the context's size over black, as it is stored and without changing its colour space.
  /// False, with nothing drawn, for another size, for samples without three colour components, and where memory runs
  /// out.
  [[nodiscard]] bool draw(const Image& image) const;

 private:
  BitmapContext(std::int64_t width, std::int64_t height, std::span<std::uint8_t> pixels)
      : width_(width), height_(height), pixels_(pixels) {}

  std::int64_t width_;
  std::int64_t height_;
  std::span<std::uint8_t> pixels_;
};

}  // namespace quellor
