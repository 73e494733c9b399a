#include "platform/pixels/encoding_form.h"

#include <algorithm>

#include "platform/pixels/encoding_planes.h"
#include "platform/pixels/raster_form.h"
#include "platform/pixels/raster_rows.h"
#include "platform/pixels/row_conversion.h"
#include "platform/pixels/row_slices.h"
#include "platform/pixels/sample_table.h"

namespace quellor::pixels {
namespace {

/// That of sYCC (IEC 61966-2-1, annex F) and of every JPEG file, whatever the primaries are.
constexpr std::uint16_t kMatrixForRgb = kBt601Matrix;

int encodingBits(int bits) { return bits == 8 ? 8 : 10; }

bool isPlanar(const Raster& raster) {
  const auto hasSampleStep = [&](const Component& c) { return c.stepBytes == bytesPerSample(raster.bitsPerComponent); };
  return std::all_of(raster.components.begin(), raster.components.end(), hasSampleStep) &&
         (!raster.alpha || hasSampleStep(*raster.alpha));
}

/// Whether the colour differences are those of 4:2:0. A single row or column has as many with subsampling as without.
bool isHalvedBothWays(const Raster& raster, const RasterForm& form) {
  const Subsampling subsampling = form.subsampling;
  return raster.chromaPhase == ChromaPhase() && (subsampling.horizontal == 1 || raster.width == 1) &&
         (subsampling.vertical == 1 || raster.height == 1);
}

bool isForEncodingAlready(const Raster& raster, const RasterForm& form) {
  if (raster.bitsPerComponent != encodingBits(raster.bitsPerComponent) || !isPlanar(raster)) return false;
  if (raster.model == SampleModel::grey) return true;
  return raster.model == SampleModel::ycbcr && !form.greenBlueRed && isHalvedBothWays(raster, form);
}

/// The same samples, without the colour differences left over that lie beyond the image.
Raster handedBack(const Raster& raster, const RasterForm& form) {
  Raster result = raster;
  if (raster.model != SampleModel::ycbcr) return result;
  result.coding.matrixCoefficients = form.matrix;
  for (const std::size_t difference : {1U, 2U}) {
    result.components[difference].width = subsampled(raster.width, 1);
    result.components[difference].height = subsampled(raster.height, 1);
  }
  return result;
}

PlaneForm resultForm(const Raster& raster, const PlaneForm& from, int bits) {
  PlaneForm to;
  to.bits = bits;
  to.subsampling = kHalfBothWays;
  to.siting = from.subsampling == kNoSubsampling ? ChromaSiting::left : from.siting;
  to.coding = raster.coding;
  to.coding.matrixCoefficients = from.rgb ? kMatrixForRgb : from.coding.matrixCoefficients;
  to.coding.fullRange = to.fullRange;
  return to;
}

}  // namespace

std::optional<Raster> encodingForm(const Raster& raster) {
  const auto form = formOf(raster);
  if (!form) return std::nullopt;
  if (isForEncodingAlready(raster, *form)) return handedBack(raster, *form);

  const int bits = encodingBits(raster.bitsPerComponent);
  const bool color = raster.model != SampleModel::grey;
  const EncodingPlanes planes(raster.width, raster.height, bits, color, raster.alpha.has_value());
  const PlaneForm from = codedForm(raster, *form);
  const PlaneForm to = resultForm(raster, from, bits);
  const std::optional<ColorRows> source = color ? std::optional(ColorRows(raster, *form)) : std::nullopt;
  const SampleTable greyValues(raster.bitsPerComponent, form->fullRange, bits);
  const SampleTable alphaValues(raster.bitsPerComponent, true, bits);
  const bool done = forEachSlice(raster.height, raster.width, [&](RowSlice slice) {
    const int fromBits = raster.bitsPerComponent;
    if (raster.alpha) writeRows(planes, *planes.raster().alpha, *raster.alpha, fromBits, alphaValues, slice);
    if (!source) {
      writeRows(planes, planes.raster().components[0], raster.components[0], fromBits, greyValues, slice);
      return true;
    }
    PlaneWriter sink(planes);
    return convertRows(raster.width, raster.height, slice, *source, from, to, sink);
  });
  if (!done) return std::nullopt;

  Raster result = planes.raster();
  result.premultiplied = raster.premultiplied;
  result.coding = to.coding;
  if (!color) result.coding.matrixCoefficients = raster.coding.matrixCoefficients;
  result.chromaSiting = to.siting;
  return result;
}

}  // namespace quellor::pixels
