#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/pixels/raster_form.h"
#include "platform/pixels/raster_rows.h"
#include "platform/pixels/row_slices.h"
#include "platform/values/raster.h"

namespace quellor::pixels {

/// What the three planes on one side of a conversion are.
struct PlaneForm {
  bool rgb = false;  // red, green, blue without subsampling; else luma and colour differences
  Subsampling subsampling;
  ChromaPhase phase;  // of the side that is read
  ChromaSiting siting = ChromaSiting::left;
  int bits = 8;
  bool fullRange = true;
  /// Matrix of luma and colour differences. Primaries and transfer characteristics count only for the matrices that
  /// are made of them.
  Cicp coding;
};

/// The side that is read of a raster.
PlaneForm codedForm(const Raster& raster, const RasterForm& form);

/// Takes the rows that a conversion makes.
class RowSink {
 public:
  virtual ~RowSink() = default;

  /// Samples `left` to `right` (exclusive) of a plane's row, in units of that plane; within the plane's size. One
  /// byte each up to 8 bits, else two.
  virtual void takeRow(std::size_t plane, std::uint32_t row, std::uint32_t left, std::uint32_t right,
                       const std::uint8_t* samples) noexcept = 0;
};

/// Converts the rows of `slice` of an image of `width` x `height`, reading as many rows around the slice as the
/// result needs to be independent of where slices meet. False when there is no such conversion.
bool convertRows(std::uint32_t width, std::uint32_t height, RowSlice slice, const ColorRows& source,
                 const PlaneForm& from, const PlaneForm& to, RowSink& sink);

}  // namespace quellor::pixels
