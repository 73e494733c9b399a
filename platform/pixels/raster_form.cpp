#include "platform/pixels/raster_form.h"

#include <algorithm>
#include <cstddef>

#include "platform/values/limits.h"

namespace quellor::pixels {
namespace {

// ITU-T H.273, table 4.
constexpr std::uint16_t kIdentityMatrix = 0;
constexpr std::uint16_t kUnspecifiedMatrix = 2;

std::size_t componentsIn(SampleModel model) {
  switch (model) {
    case SampleModel::grey:
      return 1;
    case SampleModel::cmyk:
      return 4;
    case SampleModel::rgb:
    case SampleModel::ycbcr:
      break;
  }
  return 3;
}

bool hasSize(const Component& component, std::uint32_t width, std::uint32_t height) {
  return component.firstSample != nullptr && component.width == width && component.height == height;
}

/// The shift that makes `part` of `whole`, of which `phase` more lie before the image. Absent when there is none, the
/// smallest where several do. Halves with a sample left over come last.
std::optional<unsigned> shiftBetween(std::uint32_t whole, std::uint32_t phase, std::uint32_t part) {
  const std::uint64_t covered = std::uint64_t{whole} + phase;
  for (const unsigned shift : {0U, 1U, 2U}) {
    if (phase < 1U << shift && part == subsampled(covered, shift)) return shift;
  }
  if (phase < 2 && part == subsampled(covered, 1) + 1) return 1U;
  return std::nullopt;
}

bool haveOneSize(const Component& a, const Component& b) {
  return hasSize(a, b.width, b.height) && hasSize(b, a.width, a.height);
}

/// The form of a ycbcr raster of three components.
std::optional<RasterForm> formOfDifferences(const Raster& raster) {
  const Component& blue = raster.components[1];
  if (!hasSize(raster.components[0], raster.width, raster.height)) return std::nullopt;
  if (!haveOneSize(blue, raster.components[2])) return std::nullopt;
  const auto across = shiftBetween(raster.width, raster.chromaPhase.columns, blue.width);
  const auto down = shiftBetween(raster.height, raster.chromaPhase.rows, blue.height);
  if (!across || !down) return std::nullopt;

  RasterForm form;
  form.subsampling = {*across, *down};
  form.fullRange = raster.coding.fullRange;
  const bool whole = form.subsampling == kNoSubsampling;
  const std::uint16_t matrix = raster.coding.matrixCoefficients;
  form.greenBlueRed = matrix == kIdentityMatrix && whole;
  form.matrix = matrix == kUnspecifiedMatrix || (matrix == kIdentityMatrix && !whole) ? kBt601Matrix : matrix;
  return form;
}

}  // namespace

std::optional<RasterForm> formOf(const Raster& raster) {
  if (raster.width < 1 || raster.height < 1 || std::uint64_t{raster.width} * raster.height > kMaximumPixels) {
    return std::nullopt;
  }
  if (raster.bitsPerComponent < 8 || raster.bitsPerComponent > 16) return std::nullopt;
  if (raster.components.size() != componentsIn(raster.model)) return std::nullopt;
  if (raster.alpha && !hasSize(*raster.alpha, raster.width, raster.height)) return std::nullopt;

  if (raster.model == SampleModel::ycbcr) return formOfDifferences(raster);
  const auto isWhole = [&](const Component& component) { return hasSize(component, raster.width, raster.height); };
  if (!std::all_of(raster.components.begin(), raster.components.end(), isWhole)) return std::nullopt;
  RasterForm form;
  if (raster.model == SampleModel::grey) form.fullRange = raster.coding.fullRange;
  return form;
}

}  // namespace quellor::pixels
