#include "tests/support/raster_fixture.h"

#include <cstring>
#include <map>
#include <memory>

#include "platform/values/bytes.h"

namespace quellor::test_support {
namespace {

struct LumaCoefficients {
  double red;
  double blue;
};

LumaCoefficients coefficientsOf(std::uint16_t matrix) {
  static const std::map<std::uint16_t, LumaCoefficients> table{{1, {0.2126, 0.0722}}, {4, {0.30, 0.11}},
                                                               {5, {0.299, 0.114}},   {6, {0.299, 0.114}},
                                                               {7, {0.212, 0.087}},   {9, {0.2627, 0.0593}}};
  return table.at(matrix);
}

std::size_t componentsIn(SampleModel model) {
  return model == SampleModel::grey ? 1 : model == SampleModel::cmyk ? 4 : 3;
}

/// Memory for samples that does not begin where a vector unit would like it.
struct SampleMemory {
  Bytes bytes;
  std::uint8_t* first = nullptr;
};

SampleMemory& addMemory(std::vector<std::unique_ptr<SampleMemory>>& all, std::size_t size, std::size_t offset) {
  auto memory = std::make_unique<SampleMemory>();
  memory->bytes.resize(size + offset);
  memory->first = memory->bytes.data() + offset;
  all.push_back(std::move(memory));
  return *all.back();
}

}  // namespace

Raster makeRaster(const RasterPlan& plan, const SampleFunction& sample) {
  const std::size_t sampleBytes = plan.bits > 8 ? 2 : 1;
  const std::size_t count = componentsIn(plan.model) + (plan.alpha ? 1 : 0);
  const std::size_t step = plan.interleaved ? count * sampleBytes : sampleBytes;
  const std::size_t gap = 3 * sampleBytes;
  auto owner = std::make_shared<std::vector<std::unique_ptr<SampleMemory>>>();
  Raster raster;
  raster.width = plan.width;
  raster.height = plan.height;
  raster.bitsPerComponent = plan.bits;
  raster.model = plan.model;
  raster.premultiplied = plan.premultiplied;
  raster.coding = plan.coding;
  raster.chromaSiting = plan.siting;
  for (std::size_t i = 0; i < count; ++i) {
    const bool difference = plan.model == SampleModel::ycbcr && (i == 1 || i == 2);
    Component component;
    component.width = difference ? (plan.width + plan.chromaColumns - 1) / plan.chromaColumns : plan.width;
    component.height = difference ? (plan.height + plan.chromaRows - 1) / plan.chromaRows : plan.height;
    component.stepBytes = step;
    component.strideBytes = component.width * step + gap;
    if (!plan.interleaved || i == 0) addMemory(*owner, component.strideBytes * component.height, sampleBytes);
    std::uint8_t* const first = owner->back()->first + (plan.interleaved ? i * sampleBytes : 0);
    component.firstSample = first;
    for (std::uint32_t y = 0; y < component.height; ++y) {
      for (std::uint32_t x = 0; x < component.width; ++x) {
        const auto value = static_cast<std::uint16_t>(sample(i, x, y));
        std::uint8_t* const to = first + y * component.strideBytes + x * step;
        if (sampleBytes == 1) {
          *to = static_cast<std::uint8_t>(value);
        } else {
          std::memcpy(to, &value, sizeof value);
        }
      }
    }
    if (plan.alpha && i == count - 1) {
      raster.alpha = component;
    } else {
      raster.components.push_back(component);
    }
  }
  raster.owner = owner;
  return raster;
}

SampleFunction noise(int bits) {
  return [bits](std::size_t component, std::uint32_t x, std::uint32_t y) {
    std::uint32_t mixed = x * 0x9E3779B1U + y * 0x85EBCA77U + static_cast<std::uint32_t>(component) * 0xC2B2AE3DU;
    mixed = (mixed ^ (mixed >> 15)) * 0x2C1B3C6DU;
    mixed = (mixed ^ (mixed >> 12)) * 0x297A2D39U;
    return static_cast<int>((mixed ^ (mixed >> 15)) & ((1U << bits) - 1));
  };
}

Color differencesOfRgb(const Color& rgb, std::uint16_t matrix) {
  const auto [red, blue] = coefficientsOf(matrix);
  const double luma = red * rgb[0] + (1 - red - blue) * rgb[1] + blue * rgb[2];
  return {luma, 0.5 * (rgb[2] - luma) / (1 - blue), 0.5 * (rgb[0] - luma) / (1 - red)};
}

Color rgbOfDifferences(const Color& coded, std::uint16_t matrix) {
  const auto [red, blue] = coefficientsOf(matrix);
  const double r = coded[0] + 2 * (1 - red) * coded[2];
  const double b = coded[0] + 2 * (1 - blue) * coded[1];
  return {r, (coded[0] - red * r - blue * b) / (1 - red - blue), b};
}

Color normalised(const Color& samples, int bits, bool fullRange) {
  const double unit = 1 << (bits - 8);
  const double lumaSpan = fullRange ? (1 << bits) - 1 : 219 * unit;
  const double differenceSpan = fullRange ? (1 << bits) - 1 : 224 * unit;
  const double black = fullRange ? 0 : 16 * unit;
  return {(samples[0] - black) / lumaSpan, (samples[1] - 128 * unit) / differenceSpan,
          (samples[2] - 128 * unit) / differenceSpan};
}

Color quantised(const Color& coded, int bits, bool fullRange) {
  const double unit = 1 << (bits - 8);
  const double lumaSpan = fullRange ? (1 << bits) - 1 : 219 * unit;
  const double differenceSpan = fullRange ? (1 << bits) - 1 : 224 * unit;
  const double black = fullRange ? 0 : 16 * unit;
  return {coded[0] * lumaSpan + black, coded[1] * differenceSpan + 128 * unit, coded[2] * differenceSpan + 128 * unit};
}

}  // namespace quellor::test_support
