#include "tests/support/reference_drawing.h"

#include <algorithm>
#include <bit>

#include "tests/support/format_samples.h"

namespace quellor::test_support {
namespace {

struct Place {
  double x;
  double y;
};

/// Where the first colour difference lies among the samples that it covers.
Place firstDifference(ChromaSiting siting, double columns, double rows) {
  const Place centre{(columns - 1) / 2, (rows - 1) / 2};
  switch (siting) {
    case ChromaSiting::left:
      return {0, centre.y};
    case ChromaSiting::centre:
      return centre;
    case ChromaSiting::topLeft:
      return {0, 0};
    case ChromaSiting::top:
      return {centre.x, 0};
    case ChromaSiting::bottomLeft:
      return {0, rows - 1};
    case ChromaSiting::bottom:
      return {centre.x, rows - 1};
  }
  return centre;
}

std::uint32_t factorBetween(std::uint32_t whole, std::uint32_t part) {
  return std::bit_ceil((whole + part - 1) / part);
}

Color rgbOf(const Raster& raster, const Color& samples) {
  const int bits = raster.bitsPerComponent;
  const double greatest = (1 << bits) - 1;
  if (raster.model == SampleModel::rgb) return {samples[0] / greatest, samples[1] / greatest, samples[2] / greatest};
  const std::uint16_t matrix = raster.coding.matrixCoefficients;
  if (matrix != 0) {
    const Color coded = normalised(samples, bits, raster.coding.fullRange);
    return rgbOfDifferences(coded, matrix == 2 ? std::uint16_t{6} : matrix);
  }
  // H.273, 8.3: green, blue, red, all with the range of luma.
  const double unit = 1 << (bits - 8);
  Color rgb{samples[2], samples[0], samples[1]};
  for (double& value : rgb) value = raster.coding.fullRange ? value / greatest : (value - 16 * unit) / (219 * unit);
  return rgb;
}

}  // namespace

double interpolatedDifference(const Raster& raster, std::size_t component, std::uint32_t x, std::uint32_t y) {
  const Component& plane = raster.components[component];
  const double columns = factorBetween(raster.width, plane.width), rows = factorBetween(raster.height, plane.height);
  const Place first = firstDifference(raster.chromaSiting, columns, rows);
  const double column = std::clamp((x - first.x) / columns, 0.0, plane.width - 1.0);
  const double row = std::clamp((y - first.y) / rows, 0.0, plane.height - 1.0);
  const auto left = static_cast<std::uint32_t>(column), top = static_cast<std::uint32_t>(row);
  const std::uint32_t right = std::min(left + 1, plane.width - 1), bottom = std::min(top + 1, plane.height - 1);
  const double u = column - left, v = row - top;
  const auto sample = [&](std::uint32_t sx, std::uint32_t sy) {
    return sampleAt(plane, raster.bitsPerComponent, sx, sy);
  };
  return (1 - v) * ((1 - u) * sample(left, top) + u * sample(right, top)) +
         v * ((1 - u) * sample(left, bottom) + u * sample(right, bottom));
}

Color referenceColor(const Raster& raster, std::uint32_t x, std::uint32_t y) {
  const int bits = raster.bitsPerComponent;
  Color samples{};
  for (std::size_t i = 0; i < 3; ++i) {
    const bool whole = i == 0 || raster.model == SampleModel::rgb;
    samples[i] = whole ? sampleAt(raster.components[i], bits, x, y) : interpolatedDifference(raster, i, x, y);
  }
  Color rgb = rgbOf(raster, samples);
  const bool composites = raster.alpha && !raster.premultiplied;
  const double alpha = composites ? sampleAt(*raster.alpha, bits, x, y) / double((1 << bits) - 1) : 1.0;
  for (double& value : rgb) value = std::clamp(value, 0.0, 1.0) * alpha;
  return rgb;
}

}  // namespace quellor::test_support
