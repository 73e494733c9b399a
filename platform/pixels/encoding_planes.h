#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/pixels/raster_form.h"
#include "platform/pixels/row_conversion.h"
#include "platform/pixels/row_slices.h"
#include "platform/pixels/sample_table.h"
#include "platform/values/limits.h"
#include "platform/values/raster.h"

namespace quellor::pixels {

/// Planes in one block of memory that are written and then handed out as a raster.
class EncodingPlanes {
 public:
  /// Planes for luma, 4:2:0 colour differences where `color` is set, and alpha. Width times height is at most
  /// kMaximumPixels. Throws std::bad_alloc.
  EncodingPlanes(std::uint32_t width, std::uint32_t height, int bits, bool color, bool alpha);

  [[nodiscard]] std::uint8_t* at(const Component& plane, std::uint32_t row, std::uint32_t column) const;

  /// Size, depth, components, alpha and owner are set, the rest has to be.
  [[nodiscard]] const Raster& raster() const { return raster_; }

 private:
  Raster raster_;
  std::shared_ptr<std::uint8_t> memory_;
};

/// Writes what a conversion makes into the planes of an image.
class PlaneWriter final : public RowSink {
 public:
  explicit PlaneWriter(const EncodingPlanes& planes) : planes_(planes) {}

  void takeRow(std::size_t plane, std::uint32_t row, std::uint32_t left, std::uint32_t right,
               const std::uint8_t* samples) noexcept override;

 private:
  const EncodingPlanes& planes_;
};

/// Writes the rows `slice` of `from`, a component of `bits` that is not subsampled, into the plane `to` of `planes`:
/// for each sample its entry in `values`.
void writeRows(const EncodingPlanes& planes, const Component& to, const Component& from, int bits,
               const SampleTable& values, RowSlice slice);

}  // namespace quellor::pixels
