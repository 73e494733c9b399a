#pragma once
#include <cstdint>
#include <memory>

#include "platform/values/limits.h"
#include "platform/values/raster.h"

namespace quellor::formats {

/// What the planes of an image are, without their samples. Two images fit together when these are equal.
struct PlaneLayout {
  SampleModel model = SampleModel::ycbcr;
  std::uint32_t across = 1;  // how many columns share a colour difference: 1, 2 or 4; 0 if the sizes make no sense
  std::uint32_t down = 1;    // how many rows, in the same way
  int bits = 8;
  friend bool operator==(const PlaneLayout&, const PlaneLayout&) = default;
};

/// The layout of a planar or interleaved raster, as the sizes of its components tell it.
PlaneLayout layoutOf(const Raster& raster);

/// Planes in one block of memory that are written piece by piece, then handed out as a raster. Different threads may
/// write different samples.
///
/// Planes without samples have sizes only: what writes to them does nothing, but for at(), which must not be called.
class Planes {
 public:
  /// Uninitialised planes of an image, with a plane for alpha where `alpha` is set. `width` times `height` is at most
  /// kMaximumPixels, neither is 0. Throws std::bad_alloc.
  Planes(const PlaneLayout& layout, std::uint32_t width, std::uint32_t height, bool alpha, bool samples = true);

  /// Copies `image`, whose layout is that of these planes, so that its first sample comes to stand at `left`, `top`;
  /// what lies beyond the planes is dropped. Alpha is copied where both have it. `left` and `top` are multiples of the
  /// subsampling factors, and the image has no chroma phase.
  void paste(const Raster& image, std::uint32_t left, std::uint32_t top) const;

  /// Sets every sample of a component, or of alpha behind the last one, within an area.
  void fill(std::size_t plane, std::uint16_t value, std::uint32_t left, std::uint32_t top, std::uint32_t width,
            std::uint32_t height) const;

  /// Where a sample of a component, or of alpha behind the last one, stands.
  [[nodiscard]] std::uint8_t* at(std::size_t plane, std::uint32_t column, std::uint32_t row) const;

  /// Size, depth, model, components, alpha and owner are set, the rest has to be.
  [[nodiscard]] const Raster& raster() const { return raster_; }
  [[nodiscard]] const PlaneLayout& layout() const { return layout_; }

 private:
  [[nodiscard]] const Component& component(std::size_t plane) const;

  PlaneLayout layout_;
  Raster raster_;
  std::shared_ptr<std::uint8_t> memory_;
};

}  // namespace quellor::formats
