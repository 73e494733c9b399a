#include "platform/pixels/rgb_planes.h"

#include <cstring>
#include <memory>

#include "platform/pixels/raster_form.h"
#include "platform/pixels/raster_rows.h"
#include "platform/pixels/row_conversion.h"
#include "platform/pixels/row_slices.h"
#include "platform/pixels/sample_table.h"
#include "platform/values/sample_memory.h"

namespace quellor::pixels {
namespace {

/// Three planes that are written and then handed out.
class RgbPlanes final : public RowSink {
 public:
  explicit RgbPlanes(const Raster& like) {
    raster_.width = like.width;
    raster_.height = like.height;
    raster_.bitsPerComponent = like.bitsPerComponent;
    raster_.coding.fullRange = true;
    const std::size_t step = bytesPerSample(like.bitsPerComponent), stride = alignedUp(like.width * step);
    memory_ = allocateSamples(3 * stride * like.height);
    for (std::size_t color = 0; color < 3; ++color) {
      raster_.components.push_back(
          {memory_.get() + color * stride * like.height, step, stride, like.width, like.height});
    }
    raster_.owner = memory_;
  }

  void takeRow(std::size_t plane, std::uint32_t row, std::uint32_t left, std::uint32_t right,
               const std::uint8_t* samples) noexcept override {
    const Component& to = raster_.components[plane];
    std::memcpy(at(plane, row) + left * to.stepBytes, samples, (right - left) * to.stepBytes);
  }

  [[nodiscard]] std::uint8_t* at(std::size_t plane, std::uint32_t row) const {
    const Component& to = raster_.components[plane];
    return memory_.get() + (to.firstSample - memory_.get()) + row * to.strideBytes;
  }

  [[nodiscard]] const Raster& raster() const { return raster_; }

 private:
  Raster raster_;
  std::shared_ptr<std::uint8_t> memory_;
};

bool convertLuma(const Raster& raster, const RasterForm& form, RgbPlanes& planes) {
  const ColorRows source(raster, form);
  const PlaneForm from = codedForm(raster, form);
  PlaneForm to;
  to.rgb = true;
  to.bits = raster.bitsPerComponent;
  return forEachSlice(raster.height, raster.width, [&](RowSlice slice) {
    return convertRows(raster.width, raster.height, slice, source, from, to, planes);
  });
}

/// Stretches samples that are red, green, blue or grey already to full range.
void stretchRow(std::uint8_t* samples, std::size_t count, std::size_t sampleBytes, const SampleTable& values) {
  for (std::size_t i = 0; i < count; ++i, samples += sampleBytes) {
    std::uint16_t sample = *samples;
    if (sampleBytes == 2) std::memcpy(&sample, samples, sizeof sample);
    sample = values[sample];
    if (sampleBytes == 2) {
      std::memcpy(samples, &sample, sizeof sample);
    } else {
      *samples = static_cast<std::uint8_t>(sample);
    }
  }
}

bool copyStretched(const Raster& raster, const RasterForm& form, const RgbPlanes& planes) {
  const std::size_t sampleBytes = bytesPerSample(raster.bitsPerComponent);
  const SampleTable values(raster.bitsPerComponent, form.fullRange, raster.bitsPerComponent);
  const bool grey = raster.model == SampleModel::grey;
  const auto source = grey ? std::optional<ColorRows>() : std::optional(ColorRows(raster, form));
  return forEachSlice(raster.height, raster.width, [&](RowSlice slice) {
    for (std::uint32_t row = slice.first; row < slice.first + slice.count; ++row) {
      for (std::size_t color = 0; color < 3; ++color) {
        std::uint8_t* const to = planes.at(color, row);
        if (grey) {
          copySamples(raster.components[0], sampleBytes, row, 0, raster.width, to);
        } else {
          source->copyRow(color, row, 0, raster.width, to);
        }
        stretchRow(to, raster.width, sampleBytes, values);
      }
    }
    return true;
  });
}

}  // namespace

std::optional<Raster> rgbPlanes(const Raster& raster) {
  const auto form = formOf(raster);
  if (!form || raster.model == SampleModel::cmyk) return std::nullopt;
  RgbPlanes planes(raster);
  const bool converted = raster.model == SampleModel::ycbcr && !form->greenBlueRed
                             ? convertLuma(raster, *form, planes)
                             : copyStretched(raster, *form, planes);
  if (!converted) return std::nullopt;
  return planes.raster();
}

}  // namespace quellor::pixels
