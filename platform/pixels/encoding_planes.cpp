#include "platform/pixels/encoding_planes.h"

#include <cstring>

#include "platform/pixels/raster_rows.h"
#include "platform/values/bytes.h"
#include "platform/values/sample_memory.h"

namespace quellor::pixels {
namespace {

template <typename From, typename To>
void translate(const std::uint8_t* from, std::uint8_t* to, std::size_t count, const SampleTable& values) {
  for (std::size_t i = 0; i < count; ++i) {
    From sample;
    std::memcpy(&sample, from + i * sizeof sample, sizeof sample);
    const auto value = static_cast<To>(values[sample]);
    std::memcpy(to + i * sizeof value, &value, sizeof value);
  }
}

}  // namespace

EncodingPlanes::EncodingPlanes(std::uint32_t width, std::uint32_t height, int bits, bool color, bool alpha) {
  raster_.width = width;
  raster_.height = height;
  raster_.bitsPerComponent = bits;
  raster_.model = color ? SampleModel::ycbcr : SampleModel::grey;
  const std::size_t step = bytesPerSample(bits);
  const auto plane = [step](std::uint32_t columns, std::uint32_t rows) {
    return Component{nullptr, step, alignedUp(columns * step), columns, rows};
  };
  raster_.components.push_back(plane(width, height));
  if (color) raster_.components.resize(3, plane(subsampled(width, 1), subsampled(height, 1)));
  if (alpha) raster_.alpha = plane(width, height);

  const auto sizeOf = [](const Component& component) { return component.strideBytes * component.height; };
  std::size_t total = raster_.alpha ? sizeOf(*raster_.alpha) : 0;
  for (const Component& component : raster_.components) total += sizeOf(component);
  memory_ = allocateSamples(total);
  raster_.owner = memory_;

  const std::uint8_t* next = memory_.get();
  for (Component& component : raster_.components) {
    component.firstSample = next;
    next += sizeOf(component);
  }
  if (raster_.alpha) raster_.alpha->firstSample = next;
}

std::uint8_t* EncodingPlanes::at(const Component& plane, std::uint32_t row, std::uint32_t column) const {
  const std::ptrdiff_t offset = plane.firstSample - memory_.get();
  return memory_.get() + offset + row * plane.strideBytes + column * plane.stepBytes;
}

void PlaneWriter::takeRow(std::size_t plane, std::uint32_t row, std::uint32_t left, std::uint32_t right,
                          const std::uint8_t* samples) noexcept {
  const Component& to = planes_.raster().components[plane];
  std::memcpy(planes_.at(to, row, left), samples, (right - left) * to.stepBytes);
}

void writeRows(const EncodingPlanes& planes, const Component& to, const Component& from, int bits,
               const SampleTable& values, RowSlice slice) {
  const std::size_t fromBytes = bytesPerSample(bits);
  // Samples never get deeper than 8 bits from 8 bits or less than 10 bits from more.
  const auto translateRow =
      fromBytes == 1 ? translate<std::uint8_t, std::uint8_t> : translate<std::uint16_t, std::uint16_t>;
  Bytes samples(from.width * fromBytes);
  for (std::uint32_t row = slice.first; row < slice.first + slice.count; ++row) {
    copySamples(from, fromBytes, row, 0, from.width, samples.data());
    translateRow(samples.data(), planes.at(to, row, 0), from.width, values);
  }
}

}  // namespace quellor::pixels
