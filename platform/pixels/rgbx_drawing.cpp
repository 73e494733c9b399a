#include "platform/pixels/rgbx_drawing.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <vector>

#include "platform/pixels/raster_form.h"
#include "platform/pixels/raster_rows.h"
#include "platform/pixels/row_conversion.h"
#include "platform/pixels/row_slices.h"
#include "platform/pixels/sample_table.h"

namespace quellor::pixels {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::uint8_t kOpaque = 255;

/// A piece of a row of one colour, each sample a number of the range.
struct Piece {
  const std::uint8_t* samples;
  std::uint32_t row;
  std::uint32_t left;
  std::uint32_t right;
};

/// The pixels of one picture, drawn colour by colour.
class Canvas {
 public:
  Canvas(const Raster& raster, std::span<std::uint8_t> pixels) : pixels_(pixels.data()), width_(raster.width) {
    if (raster.alpha && !raster.premultiplied) alpha_ = &*raster.alpha;
    alphaBits_ = raster.bitsPerComponent;
  }

  /// Whether colour has to be multiplied by alpha.
  [[nodiscard]] bool composites() const { return alpha_ != nullptr; }

  /// Draws samples of 8 bits in full range as they are.
  void drawOpaque(std::size_t color, const Piece& piece) const {
    std::uint8_t* to = at(color, piece);
    for (std::uint32_t i = 0; i < piece.right - piece.left; ++i, to += kPixelBytes) *to = piece.samples[i];
    if (color == 0) drawFourthBytes(piece);
  }

  /// Draws samples of `sampleBytes` by their values in 8 bits.
  void drawOpaque(std::size_t color, const Piece& piece, std::size_t sampleBytes, const SampleTable& values) const {
    std::uint8_t* to = at(color, piece);
    for (std::uint32_t i = 0; i < piece.right - piece.left; ++i, to += kPixelBytes) {
      *to = static_cast<std::uint8_t>(values[loadSample(piece.samples + i * sampleBytes, sampleBytes)]);
    }
    if (color == 0) drawFourthBytes(piece);
  }

  /// Draws samples of `range` multiplied by alpha: rounded once, exact because the product has less than 53 bits and
  /// is farther from the middle between two results than the error of the division.
  void drawComposited(std::size_t color, const Piece& piece, std::size_t sampleBytes, SampleRange range,
                      std::vector<std::uint8_t>& alphaRow) const {
    const std::size_t alphaBytes = bytesPerSample(alphaBits_);
    const std::uint32_t opaque = greatestSample(alphaBits_);
    const double scale = 255.0 / (static_cast<double>(range.span) * opaque);
    alphaRow.resize((piece.right - piece.left) * alphaBytes);
    copySamples(*alpha_, alphaBytes, piece.row, piece.left, piece.right, alphaRow.data());
    std::uint8_t* to = at(color, piece);
    for (std::uint32_t i = 0; i < piece.right - piece.left; ++i, to += kPixelBytes) {
      const std::uint32_t sample = loadSample(piece.samples + i * sampleBytes, sampleBytes);
      const std::uint32_t value = std::clamp(sample, range.black, range.black + range.span) - range.black;
      const std::uint32_t alpha =
          std::min<std::uint32_t>(loadSample(alphaRow.data() + i * alphaBytes, alphaBytes), opaque);
      // Never negative, and std::lround is a call.  NOLINTNEXTLINE(bugprone-incorrect-roundings)
      *to = static_cast<std::uint8_t>(static_cast<double>(value) * alpha * scale + 0.5);
    }
    if (color == 0) drawFourthBytes(piece);
  }

 private:
  [[nodiscard]] std::uint8_t* at(std::size_t byte, const Piece& piece) const {
    return pixels_ + (std::size_t{piece.row} * width_ + piece.left) * kPixelBytes + byte;
  }

  void drawFourthBytes(const Piece& piece) const {
    std::uint8_t* to = at(3, piece);
    for (std::uint32_t x = piece.left; x < piece.right; ++x, to += kPixelBytes) *to = kOpaque;
  }

  std::uint8_t* pixels_;
  std::uint32_t width_;
  const Component* alpha_ = nullptr;
  int alphaBits_ = 8;
};

/// Draws red, green and blue as they come out of a conversion: 8 bits, or 16 bits where alpha has yet to be
/// multiplied in, so that rounding to 8 bits comes last.
class ConvertedRows final : public RowSink {
 public:
  explicit ConvertedRows(const Canvas& canvas, std::uint32_t width) : canvas_(canvas) {
    if (canvas.composites()) alphaRow_.reserve(std::size_t{width} * 2);
  }

  [[nodiscard]] int bits() const { return canvas_.composites() ? 16 : 8; }

  void takeRow(std::size_t plane, std::uint32_t row, std::uint32_t left, std::uint32_t right,
               const std::uint8_t* samples) noexcept override {
    const Piece piece{samples, row, left, right};
    if (canvas_.composites()) {
      canvas_.drawComposited(plane, piece, 2, rangeOf(16, true), alphaRow_);
    } else {
      canvas_.drawOpaque(plane, piece);
    }
  }

 private:
  const Canvas& canvas_;
  std::vector<std::uint8_t> alphaRow_;
};

bool drawLuma(const Raster& raster, const RasterForm& form, const Canvas& canvas) {
  const ColorRows source(raster, form);
  const PlaneForm from = codedForm(raster, form);
  return forEachSlice(raster.height, raster.width, [&](RowSlice slice) {
    ConvertedRows sink(canvas, raster.width);
    PlaneForm to;
    to.rgb = true;
    to.bits = sink.bits();
    return convertRows(raster.width, raster.height, slice, source, from, to, sink);
  });
}

bool drawRgb(const Raster& raster, const RasterForm& form, const Canvas& canvas) {
  const ColorRows source(raster, form);
  const std::size_t sampleBytes = bytesPerSample(raster.bitsPerComponent);
  const SampleRange range = rangeOf(raster.bitsPerComponent, form.fullRange);
  const SampleTable values(raster.bitsPerComponent, form.fullRange, 8);
  const bool asItIs = raster.bitsPerComponent == 8 && form.fullRange;
  return forEachSlice(raster.height, raster.width, [&](RowSlice slice) {
    std::vector<std::uint8_t> colorRow(raster.width * sampleBytes);
    std::vector<std::uint8_t> alphaRow;
    for (std::uint32_t row = slice.first; row < slice.first + slice.count; ++row) {
      const Piece piece{colorRow.data(), row, 0, raster.width};
      for (std::size_t color = 0; color < 3; ++color) {
        source.copyRow(color, row, 0, raster.width, colorRow.data());
        if (canvas.composites()) {
          canvas.drawComposited(color, piece, sampleBytes, range, alphaRow);
        } else if (asItIs) {
          canvas.drawOpaque(color, piece);
        } else {
          canvas.drawOpaque(color, piece, sampleBytes, values);
        }
      }
    }
    return true;
  });
}

}  // namespace

bool drawRgbx(const Raster& raster, std::span<std::uint8_t> pixels) {
  if (raster.model != SampleModel::rgb && raster.model != SampleModel::ycbcr) return false;
  const auto form = formOf(raster);
  if (!form || pixels.size() != std::size_t{raster.width} * raster.height * kPixelBytes) return false;
  const Canvas canvas(raster, pixels);
  const bool isRgb = raster.model == SampleModel::rgb || form->greenBlueRed;
  return isRgb ? drawRgb(raster, *form, canvas) : drawLuma(raster, *form, canvas);
}

}  // namespace quellor::pixels
