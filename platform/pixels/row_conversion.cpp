#include "platform/pixels/row_conversion.h"

#include <algorithm>
#include <array>
#include <memory>

#include <zimg.h>

#include "platform/values/sample_memory.h"

namespace quellor::pixels {
namespace {

constexpr std::size_t kPlanes = 3;

/// Rows above and below a slice that are converted with it. Linear interpolation looks at two rows of colour
/// differences; a multiple of every subsampling keeps the phase.
constexpr std::uint32_t kContextRows = kSliceRowUnit;

/// The library refuses to resample planes that are smaller than its filters. Repeating the edge changes no sample.
constexpr std::uint32_t kLeastSize = 16;
constexpr std::uint32_t kSizeUnit = 4;  // divisible by every subsampling

std::uint32_t paddedSize(std::uint32_t size) {
  return std::max(kLeastSize, (size + kSizeUnit - 1) / kSizeUnit * kSizeUnit);
}

struct GraphDeleter {
  void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
};
using Graph = std::unique_ptr<zimg_filter_graph, GraphDeleter>;

// ITU-T H.273, tables 2, 3 and 4.
constexpr std::uint16_t kUnspecified = 2;
constexpr std::uint16_t kBt2020Primaries = 9;
constexpr std::uint16_t kPqTransfer = 16;
constexpr std::uint16_t kBt2020ConstantLuminance = 10;
constexpr std::uint16_t kDerivedFromPrimaries = 12;
constexpr std::uint16_t kDerivedConstantLuminance = 13;
constexpr std::uint16_t kIctcp = 14;

/// Matrices that contain the transfer characteristics or the primaries.
bool dependsOnColor(std::uint16_t matrix) { return matrix == kDerivedFromPrimaries || matrix == kIctcp; }

/// The library undoes constant luminance with one curve and restores the signal with another, so that nothing comes
/// out right (3.0.4). No still image is known to be coded so.
bool hasConstantLuminance(std::uint16_t matrix) {
  return matrix == kBt2020ConstantLuminance || matrix == kDerivedConstantLuminance;
}

zimg_image_format formatOf(const PlaneForm& form, const Cicp& color, std::uint32_t width, std::uint32_t height) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = width;
  format.height = height;
  format.pixel_type = bytesPerSample(form.bits) == 1 ? ZIMG_PIXEL_BYTE : ZIMG_PIXEL_WORD;
  format.depth = static_cast<unsigned>(form.bits);
  format.pixel_range = form.fullRange ? ZIMG_RANGE_FULL : ZIMG_RANGE_LIMITED;
  format.color_family = form.rgb ? ZIMG_COLOR_RGB : ZIMG_COLOR_YUV;
  // The library's numbers are those of H.273; it refuses the ones that it does not know.
  format.matrix_coefficients =
      form.rgb ? ZIMG_MATRIX_RGB : static_cast<zimg_matrix_coefficients_e>(form.coding.matrixCoefficients);
  if (dependsOnColor(color.matrixCoefficients)) {
    format.transfer_characteristics = static_cast<zimg_transfer_characteristics_e>(color.transferCharacteristics);
    format.color_primaries = static_cast<zimg_color_primaries_e>(color.colorPrimaries);
  }
  if (!form.rgb) {
    format.subsample_w = form.subsampling.horizontal;
    format.subsample_h = form.subsampling.vertical;
    format.chroma_location = static_cast<zimg_chroma_location_e>(form.siting);
  }
  return format;
}

Graph graphOf(const zimg_image_format& from, const zimg_image_format& to) {
  zimg_graph_builder_params parameters;
  zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
  parameters.resample_filter = parameters.resample_filter_uv = ZIMG_RESIZE_BILINEAR;
  parameters.dither_type = ZIMG_DITHER_NONE;
  parameters.cpu_type = ZIMG_CPU_AUTO;
  return Graph(zimg_filter_graph_build(&from, &to, &parameters));
}

/// A ring of rows for each plane, aligned as the library wants it.
class RowRings {
 public:
  RowRings(const zimg_image_format& format, unsigned wantedRows)
      : sampleBytes_(format.pixel_type == ZIMG_PIXEL_BYTE ? 1 : 2),
        verticalShift_(format.subsample_h),
        horizontalShift_(format.subsample_w) {
    const unsigned mask = zimg_select_buffer_mask(wantedRows);
    const std::size_t rows = mask == ZIMG_BUFFER_MAX ? format.height : std::size_t{mask} + 1;
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
      const unsigned shift = verticalShift(plane);
      strides_[plane] = alignedUp((format.width >> horizontalShift(plane)) * sampleBytes_);
      masks_[plane] = mask == ZIMG_BUFFER_MAX ? mask : mask >> shift;
      memory_[plane] = allocateSamples(strides_[plane] * ((rows + (1U << shift) - 1) >> shift));
    }
  }

  [[nodiscard]] unsigned verticalShift(std::size_t plane) const { return plane == 0 ? 0 : verticalShift_; }
  [[nodiscard]] unsigned horizontalShift(std::size_t plane) const { return plane == 0 ? 0 : horizontalShift_; }
  [[nodiscard]] unsigned lineUnit() const { return 1U << verticalShift_; }

  [[nodiscard]] std::uint8_t* sample(std::size_t plane, unsigned row, unsigned column) const {
    return memory_[plane].get() + (row & masks_[plane]) * strides_[plane] + column * sampleBytes_;
  }

  /// Both kinds of the library's description have the same members.
  template <typename Buffer>
  [[nodiscard]] Buffer buffer() const {
    Buffer result{};
    result.version = ZIMG_API_VERSION;
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
      result.plane[plane].data = memory_[plane].get();
      result.plane[plane].stride = static_cast<std::ptrdiff_t>(strides_[plane]);
      result.plane[plane].mask = masks_[plane];
    }
    return result;
  }

 private:
  std::array<std::shared_ptr<std::uint8_t>, kPlanes> memory_;
  std::array<std::size_t, kPlanes> strides_{};
  std::array<unsigned, kPlanes> masks_{};
  std::size_t sampleBytes_;
  unsigned verticalShift_;
  unsigned horizontalShift_;
};

/// Fills the ring with the source's rows when the library asks for them. Luma that by its phase would lie before the
/// image is outside of the active region; the edge stands in for it.
struct Input {
  const ColorRows& source;
  const RowRings& rings;
  std::uint32_t firstRow = 0;  // of the image, that the library calls 0
  ChromaPhase phase;

  void fillRow(std::size_t plane, unsigned row, unsigned left, unsigned right) const {
    const unsigned columnsBefore = plane == 0 ? phase.columns : 0;
    const unsigned rowsBefore = plane == 0 ? phase.rows : 0;
    const std::uint64_t graphRow = std::uint64_t{firstRow >> rings.verticalShift(plane)} + row;
    const std::uint64_t imageRow = graphRow - std::min<std::uint64_t>(graphRow, rowsBefore);
    if (left < columnsBefore) source.copyRow(plane, imageRow, 0, columnsBefore, rings.sample(plane, row, 0));
    const unsigned first = std::max(left, columnsBefore);
    source.copyRow(plane, imageRow, first - columnsBefore, right - columnsBefore, rings.sample(plane, row, first));
  }

  static int fill(void* user, unsigned line, unsigned left, unsigned right) noexcept {
    const Input& self = *static_cast<const Input*>(user);
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
      const unsigned down = self.rings.verticalShift(plane);
      const unsigned across = self.rings.horizontalShift(plane);
      for (unsigned row = line >> down; row < (line + self.rings.lineUnit()) >> down; ++row) {
        self.fillRow(plane, row, left >> across, subsampled(right, across));
      }
    }
    return 0;
  }
};

/// Hands on the rows of the slice, without the padding and the rows around it.
struct Output {
  RowSink& sink;
  const RowRings& rings;
  std::uint32_t width = 0;
  RowSlice slice;
  std::uint32_t firstRow = 0;

  static int empty(void* user, unsigned line, unsigned left, unsigned right) noexcept {
    const Output& self = *static_cast<const Output*>(user);
    for (std::size_t plane = 0; plane < kPlanes; ++plane) {
      const unsigned down = self.rings.verticalShift(plane);
      const unsigned across = self.rings.horizontalShift(plane);
      const std::uint32_t begin = left >> across;
      const std::uint32_t end = std::min(subsampled(right, across), subsampled(self.width, across));
      if (begin >= end) continue;
      const std::uint32_t sliceBegin = self.slice.first >> down;
      const std::uint32_t sliceEnd = subsampled(self.slice.first + self.slice.count, down);
      for (unsigned row = line >> down; row < (line + self.rings.lineUnit()) >> down; ++row) {
        const std::uint32_t imageRow = (self.firstRow >> down) + row;
        if (imageRow < sliceBegin || imageRow >= sliceEnd) continue;
        self.sink.takeRow(plane, imageRow, begin, end, self.rings.sample(plane, row, begin));
      }
    }
    return 0;
  }
};

/// The coding of the side that has a matrix. ICtCp (ITU-R BT.2100) brings its primaries along, and PQ stands in where
/// no transfer characteristics are signalled.
Cicp colorOf(const PlaneForm& from, const PlaneForm& to) {
  Cicp color = from.rgb ? to.coding : from.coding;
  if (color.matrixCoefficients != kIctcp) return color;
  color.colorPrimaries = kBt2020Primaries;
  if (color.transferCharacteristics == kUnspecified) color.transferCharacteristics = kPqTransfer;
  return color;
}

}  // namespace

PlaneForm codedForm(const Raster& raster, const RasterForm& form) {
  PlaneForm from;
  from.rgb = raster.model != SampleModel::ycbcr || form.greenBlueRed;
  from.bits = raster.bitsPerComponent;
  from.fullRange = form.fullRange;
  if (from.rgb) return from;
  from.subsampling = form.subsampling;
  from.phase = raster.chromaPhase;
  from.siting = raster.chromaSiting;
  from.coding = raster.coding;
  from.coding.matrixCoefficients = form.matrix;
  return from;
}

bool convertRows(std::uint32_t width, std::uint32_t height, RowSlice slice, const ColorRows& source,
                 const PlaneForm& from, const PlaneForm& to, RowSink& sink) {
  const std::uint32_t firstRow = slice.first - std::min(slice.first, kContextRows);
  const std::uint32_t endRow = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(height, std::uint64_t{slice.first} + slice.count + kContextRows));
  const Cicp color = colorOf(from, to);
  if (from.rgb != to.rgb && hasConstantLuminance(color.matrixCoefficients)) return false;
  const std::uint32_t paddedWidth = paddedSize(width);
  const std::uint32_t paddedHeight = paddedSize(endRow - firstRow);
  zimg_image_format fromFormat = formatOf(from, color, paddedWidth, paddedHeight);
  if (from.phase != ChromaPhase()) {
    fromFormat.width += kSizeUnit;
    fromFormat.height += kSizeUnit;
    fromFormat.active_region = {static_cast<double>(from.phase.columns), static_cast<double>(from.phase.rows),
                                static_cast<double>(paddedWidth), static_cast<double>(paddedHeight)};
  }
  const zimg_image_format toFormat = formatOf(to, color, paddedWidth, paddedHeight);
  const Graph graph = graphOf(fromFormat, toFormat);
  if (!graph) return false;

  unsigned inputRows = 0;
  unsigned outputRows = 0;
  std::size_t scratchSize = 0;
  if (zimg_filter_graph_get_input_buffering(graph.get(), &inputRows) != ZIMG_ERROR_SUCCESS ||
      zimg_filter_graph_get_output_buffering(graph.get(), &outputRows) != ZIMG_ERROR_SUCCESS ||
      zimg_filter_graph_get_tmp_size(graph.get(), &scratchSize) != ZIMG_ERROR_SUCCESS) {
    return false;
  }
  const RowRings inputRings(fromFormat, inputRows);
  const RowRings outputRings(toFormat, outputRows);
  const auto scratch = allocateSamples(std::max<std::size_t>(scratchSize, 1));
  Input input{source, inputRings, firstRow, from.phase};
  Output output{sink, outputRings, width, slice, firstRow};
  const auto inputBuffer = inputRings.buffer<zimg_image_buffer_const>();
  const auto outputBuffer = outputRings.buffer<zimg_image_buffer>();
  return zimg_filter_graph_process(graph.get(), &inputBuffer, &outputBuffer, scratch.get(), Input::fill, &input,
                                   Output::empty, &output) == ZIMG_ERROR_SUCCESS;
}

}  // namespace quellor::pixels
