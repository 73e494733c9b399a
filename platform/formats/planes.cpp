#include "platform/formats/planes.h"

#include <algorithm>
#include <cstring>

#include "platform/values/sample_memory.h"

namespace quellor::formats {
namespace {

std::uint32_t dividedUp(std::uint32_t size, std::uint32_t factor) { return size / factor + (size % factor != 0); }

/// The factor by which `part` is less than `whole`, which begins `phase` samples late.
std::uint32_t factorOf(std::uint32_t whole, std::uint32_t part, std::uint32_t phase) {
  for (const std::uint32_t factor : {1U, 2U, 4U}) {
    if (part >= dividedUp(whole + phase, factor)) return factor;
  }
  return 0;
}

std::size_t componentsOf(SampleModel model) {
  return model == SampleModel::grey ? 1 : model == SampleModel::cmyk ? 4 : 3;
}

void copyRow(const std::uint8_t* from, std::size_t fromStep, std::uint8_t* to, std::size_t sampleBytes,
             std::size_t count) {
  if (fromStep == sampleBytes) {
    std::memcpy(to, from, count * sampleBytes);
    return;
  }
  for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * sampleBytes, from + i * fromStep, sampleBytes);
}

}  // namespace

PlaneLayout layoutOf(const Raster& raster) {
  PlaneLayout layout{raster.model, 1, 1, raster.bitsPerComponent};
  if (raster.model == SampleModel::ycbcr) {
    const Component& difference = raster.components[1];
    layout.across = factorOf(raster.width, difference.width, raster.chromaPhase.columns);
    layout.down = factorOf(raster.height, difference.height, raster.chromaPhase.rows);
  }
  return layout;
}

Planes::Planes(const PlaneLayout& layout, std::uint32_t width, std::uint32_t height, bool alpha, bool samples)
    : layout_(layout) {
  raster_.width = width;
  raster_.height = height;
  raster_.bitsPerComponent = layout.bits;
  raster_.model = layout.model;
  const std::size_t step = bytesPerSample(layout.bits);
  const auto plane = [step](std::uint32_t columns, std::uint32_t rows) {
    return Component{nullptr, step, alignedUp(columns * step), columns, rows};
  };
  const bool differences = layout.model == SampleModel::ycbcr;
  raster_.components.assign(componentsOf(layout.model), plane(width, height));
  for (std::size_t i = 1; differences && i < raster_.components.size(); ++i) {
    raster_.components[i] = plane(dividedUp(width, layout.across), dividedUp(height, layout.down));
  }
  if (alpha) raster_.alpha = plane(width, height);
  if (!samples) return;

  std::size_t total = 0;
  const auto sizeOf = [](const Component& each) { return each.strideBytes * each.height; };
  for (const Component& each : raster_.components) total += sizeOf(each);
  if (alpha) total += sizeOf(*raster_.alpha);
  memory_ = allocateSamples(total);
  raster_.owner = memory_;
  const std::uint8_t* next = memory_.get();
  for (Component& each : raster_.components) {
    each.firstSample = next;
    next += sizeOf(each);
  }
  if (alpha) raster_.alpha->firstSample = next;
}

const Component& Planes::component(std::size_t plane) const {
  return plane < raster_.components.size() ? raster_.components[plane] : *raster_.alpha;
}

std::uint8_t* Planes::at(std::size_t plane, std::uint32_t column, std::uint32_t row) const {
  const Component& to = component(plane);
  return memory_.get() + (to.firstSample - memory_.get()) + row * to.strideBytes + column * to.stepBytes;
}

void Planes::paste(const Raster& image, std::uint32_t left, std::uint32_t top) const {
  if (memory_ == nullptr) return;
  const std::size_t sampleBytes = bytesPerSample(layout_.bits);
  const auto pasteComponent = [&](std::size_t plane, const Component& from) {
    const Component& to = component(plane);
    const bool difference = layout_.model == SampleModel::ycbcr && (plane == 1 || plane == 2);
    const std::uint32_t x = left / (difference ? layout_.across : 1), y = top / (difference ? layout_.down : 1);
    if (x >= to.width || y >= to.height) return;
    const std::uint32_t columns = std::min(from.width, to.width - x), rows = std::min(from.height, to.height - y);
    for (std::uint32_t row = 0; row < rows; ++row) {
      copyRow(from.firstSample + row * from.strideBytes, from.stepBytes, at(plane, x, y + row), sampleBytes, columns);
    }
  };
  for (std::size_t i = 0; i < raster_.components.size(); ++i) pasteComponent(i, image.components[i]);
  if (raster_.alpha && image.alpha) pasteComponent(raster_.components.size(), *image.alpha);
}

void Planes::fill(std::size_t plane, std::uint16_t value, std::uint32_t left, std::uint32_t top, std::uint32_t width,
                  std::uint32_t height) const {
  const Component& to = component(plane);
  if (memory_ == nullptr || left >= to.width || top >= to.height) return;
  const std::uint32_t right = left + std::min(width, to.width - left), bottom = top + std::min(height, to.height - top);
  for (std::uint32_t row = top; row < bottom; ++row) {
    if (to.stepBytes == 1) {
      std::memset(at(plane, left, row), value, right - left);
      continue;
    }
    for (std::uint32_t column = left; column < right; ++column) {
      std::memcpy(at(plane, column, row), &value, sizeof value);
    }
  }
}

}  // namespace quellor::formats
