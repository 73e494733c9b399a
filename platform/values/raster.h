#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "platform/values/color.h"

namespace quellor {

/// What the colour components of a raster mean.
enum class SampleModel : std::uint8_t {
  grey,   // one component
  rgb,    // three: red, green, blue
  ycbcr,  // three: luma, blue difference, red difference; the last two may be subsampled
  cmyk,   // four; 0 is no ink
};

constexpr ColorModel colorModelOf(SampleModel samples) {
  switch (samples) {
    case SampleModel::grey:
      return ColorModel::grey;
    case SampleModel::cmyk:
      return ColorModel::cmyk;
    case SampleModel::rgb:
    case SampleModel::ycbcr:
      break;
  }
  return ColorModel::rgb;
}

/// Where the samples of subsampled colour differences lie among those of luma: the types of ITU-T H.273, 8.7, under
/// their numbers. Without subsampling in a direction, nothing is said of that direction.
enum class ChromaSiting : std::uint8_t {
  left = 0,    // on the first of the columns that they cover, between the rows: HEVC and AV1 that signal nothing
  centre = 1,  // amid the samples that they cover: JPEG (ITU-T T.871, clause 6), WebP
  topLeft = 2,
  top = 3,
  bottomLeft = 4,
  bottom = 5,
};

/// Columns and rows that share the first colour differences with the image's first, but lie before it: what a crop
/// leaves that begins at an odd sample. Less than the factor of the subsampling.
struct ChromaPhase {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  friend bool operator==(const ChromaPhase&, const ChromaPhase&) = default;
};

/// One component of a raster: a sample every `stepBytes` in a row, a row every `strideBytes`, top row first.
///
/// A planar raster has a step of one sample; in an interleaved one the components lie inside one another.
struct Component {
  const std::uint8_t* firstSample = nullptr;
  std::size_t stepBytes = 0;
  std::size_t strideBytes = 0;
  std::uint32_t width = 0;  // in samples, less than the image's where the component is subsampled
  std::uint32_t height = 0;
};

constexpr std::size_t bytesPerSample(int bits) { return bits > 8 ? 2 : 1; }
constexpr std::uint32_t greatestSample(int bits) { return (1U << bits) - 1; }

/// A sample wherever it stands: those of two bytes need not be aligned.
template <typename Sample>
Sample loadSample(const std::uint8_t* from) {
  Sample sample;
  std::memcpy(&sample, from, sizeof sample);
  return sample;
}
inline std::uint16_t loadSample(const std::uint8_t* from, std::size_t sampleBytes) {
  return sampleBytes == 1 ? *from : loadSample<std::uint16_t>(from);
}

/// What the samples of an image are, without the samples.
struct RasterShape {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int bitsPerComponent = 8;
  SampleModel model = SampleModel::rgb;
  bool alpha = false;
  bool premultiplied = false;
  friend bool operator==(const RasterShape&, const RasterShape&) = default;
};

/// Decoded samples exactly as they were coded: no colour conversion, no rotation, clean aperture applied.
///
/// A sample takes one byte up to 8 bits per component and two bytes, in the machine's byte order, above. `owner`
/// keeps the memory alive that the components point into; nobody else does, and nothing changes it.
///
/// Inside platform/formats there are rasters without samples, too: all that is said of them holds but for the samples,
/// and every `firstSample` is null. They stand for pictures that were proved whole instead of being decoded.
struct Raster {
  std::uint32_t width = 0;  // 1 or more
  std::uint32_t height = 0;
  int bitsPerComponent = 8;  // 8 to 16
  SampleModel model = SampleModel::rgb;
  std::vector<Component> components;  // as many as `model` says
  std::optional<Component> alpha;     // not subsampled, same depth
  bool premultiplied = false;
  /// Matrix and range of a ycbcr raster, range of a grey one; the primaries may be unspecified.
  Cicp coding;
  /// Of a ycbcr raster whose colour differences are subsampled.
  ChromaSiting chromaSiting = ChromaSiting::left;
  ChromaPhase chromaPhase;
  std::shared_ptr<const void> owner;

  [[nodiscard]] bool hasSamples() const { return !components.empty() && components.front().firstSample != nullptr; }
};

inline RasterShape shapeOf(const Raster& raster) {
  return {raster.width,        raster.height, raster.bitsPerComponent, raster.model, raster.alpha.has_value(),
          raster.premultiplied};
}

}  // namespace quellor
