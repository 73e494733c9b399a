#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/pixels/raster_form.h"
#include "platform/values/raster.h"

namespace quellor::pixels {

/// Copies samples `left` to `right` (exclusive, of one row) to `to`, one behind the other, each of `sampleBytes` (1 or
/// 2). Beyond the component's right and bottom edge its last sample and row stand again and again.
void copySamples(const Component& component, std::size_t sampleBytes, std::uint64_t row, std::uint32_t left,
                 std::uint32_t right, std::uint8_t* to);

/// Three planes of colour that are read row by row: the components of a raster in the order that a conversion takes
/// them (red, green, blue or luma and the colour differences).
class ColorRows {
 public:
  /// `raster` must fit its `form`, not be grey, and outlive this object.
  ColorRows(const Raster& raster, const RasterForm& form);

  /// As copySamples() for one of the three planes. Inks come out as the colour that they leave.
  void copyRow(std::size_t plane, std::uint64_t row, std::uint32_t left, std::uint32_t right, std::uint8_t* to) const;

 private:
  std::array<const Component*, 3> planes_{};
  const Component* black_ = nullptr;  // of cmyk
  std::size_t sampleBytes_;
  std::uint32_t greatest_;
};

}  // namespace quellor::pixels
