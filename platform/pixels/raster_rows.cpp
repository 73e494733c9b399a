#include "platform/pixels/raster_rows.h"

#include <algorithm>
#include <cstring>

namespace quellor::pixels {
namespace {

template <typename Sample>
void copy(const Component& component, std::uint64_t row, std::uint32_t left, std::uint32_t right, std::uint8_t* to) {
  const std::uint8_t* const line =
      component.firstSample + std::min<std::uint64_t>(row, component.height - 1) * component.strideBytes;
  const std::uint32_t end = std::clamp(component.width, left, right);
  const std::size_t step = component.stepBytes;
  const std::uint8_t* from = line + left * step;
  if (step == sizeof(Sample)) {
    std::memcpy(to, from, (end - left) * sizeof(Sample));
    to += (end - left) * sizeof(Sample);
  } else {
    for (std::uint32_t x = left; x < end; ++x, from += step, to += sizeof(Sample)) {
      std::memcpy(to, from, sizeof(Sample));
    }
  }
  if (end == right) return;
  const auto last = loadSample<Sample>(line + (component.width - 1) * step);
  for (std::uint32_t x = end; x < right; ++x, to += sizeof(Sample)) std::memcpy(to, &last, sizeof(Sample));
}

/// Colour = (1 - ink) * (1 - black), rounded to nearest. `to` has the samples of the ink and gets those of the colour.
template <typename Sample>
void removeInk(const Component& black, std::uint32_t greatest, std::uint64_t row, std::uint32_t left,
               std::uint32_t right, std::uint8_t* to) {
  const std::uint8_t* const line =
      black.firstSample + std::min<std::uint64_t>(row, black.height - 1) * black.strideBytes;
  for (std::uint32_t x = left; x < right; ++x, to += sizeof(Sample)) {
    const std::uint8_t* const at = line + std::min(x, black.width - 1) * black.stepBytes;
    const std::uint64_t light = greatest - std::min<std::uint32_t>(loadSample<Sample>(to), greatest);
    const std::uint64_t paper = greatest - std::min<std::uint32_t>(loadSample<Sample>(at), greatest);
    const auto color = static_cast<Sample>((light * paper + greatest / 2) / greatest);
    std::memcpy(to, &color, sizeof color);
  }
}

}  // namespace

void copySamples(const Component& component, std::size_t sampleBytes, std::uint64_t row, std::uint32_t left,
                 std::uint32_t right, std::uint8_t* to) {
  if (sampleBytes == 1) {
    copy<std::uint8_t>(component, row, left, right, to);
  } else {
    copy<std::uint16_t>(component, row, left, right, to);
  }
}

ColorRows::ColorRows(const Raster& raster, const RasterForm& form)
    : sampleBytes_(bytesPerSample(raster.bitsPerComponent)), greatest_(greatestSample(raster.bitsPerComponent)) {
  // H.273, 8.3: with the identity, luma is green and the differences are blue and red.
  constexpr std::array<std::size_t, 3> kAsCoded{0, 1, 2};
  constexpr std::array<std::size_t, 3> kFromGreenBlueRed{2, 0, 1};
  const auto& order = form.greenBlueRed ? kFromGreenBlueRed : kAsCoded;
  for (std::size_t i = 0; i < planes_.size(); ++i) planes_[i] = &raster.components[order[i]];
  if (raster.model == SampleModel::cmyk) black_ = &raster.components[3];
}

void ColorRows::copyRow(std::size_t plane, std::uint64_t row, std::uint32_t left, std::uint32_t right,
                        std::uint8_t* to) const {
  copySamples(*planes_[plane], sampleBytes_, row, left, right, to);
  if (black_ == nullptr) return;
  if (sampleBytes_ == 1) {
    removeInk<std::uint8_t>(*black_, greatest_, row, left, right, to);
  } else {
    removeInk<std::uint16_t>(*black_, greatest_, row, left, right, to);
  }
}

}  // namespace quellor::pixels
