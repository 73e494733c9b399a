#include <array>
#include <cstdint>
#include <span>

#include "platform/formats/image_format.h"
#include "platform/formats/jpeg_session.h"
#include "platform/values/limits.h"
#include "platform/values/sample_memory.h"

namespace quellor::jpeg {
namespace {

constexpr int kComponentLimit = 4;
static_assert(sizeof(std::size_t) >= 8, "sizes of at most 65535 x 65535 x 4 samples are not checked further");

std::span<const jpeg_component_info> componentsOf(const jpeg_decompress_struct& info) {
  return {info.comp_info, static_cast<std::size_t>(info.num_components)};
}

/// Whether a file of that size can hold the image: asked before memory is taken for it. A Huffman code has one bit or
/// more and a block has one code or more. Arithmetic coding has no such floor, and nobody makes large images with it.
bool canHoldImage(const jpeg_decompress_struct& info, std::size_t fileSize) {
  constexpr std::uint64_t kMaximumArithmeticPixels = std::uint64_t{1} << 26;
  if (info.arith_code) return std::uint64_t{info.image_width} * info.image_height <= kMaximumArithmeticPixels;
  std::uint64_t blocks = 0;
  for (const auto& c : componentsOf(info)) blocks += std::uint64_t{c.width_in_blocks} * c.height_in_blocks;
  return blocks / 8 <= fileSize;
}

/// Whether the planes can be handed out as they are coded: colour differences at a whole, half or quarter of the
/// luma's resolution, equal to one another; red, green and blue not subsampled. The rest goes through upsampling.
bool staysPlanar(const jpeg_decompress_struct& info, SampleModel model) {
  if (model == SampleModel::grey) return true;
  if (model == SampleModel::cmyk) return false;
  const auto components = componentsOf(info);
  const auto& first = components[0];
  const auto& second = components[1];
  const auto& third = components[2];
  if (first.h_samp_factor != info.max_h_samp_factor || first.v_samp_factor != info.max_v_samp_factor) return false;
  if (second.h_samp_factor != third.h_samp_factor || second.v_samp_factor != third.v_samp_factor) return false;
  const auto isOneTwoOrFour = [](int whole, int part) {
    return part == whole || part * 2 == whole || part * 4 == whole;
  };
  if (model == SampleModel::rgb) {
    return second.h_samp_factor == first.h_samp_factor && second.v_samp_factor == first.v_samp_factor;
  }
  return isOneTwoOrFour(first.h_samp_factor, second.h_samp_factor) &&
         isOneTwoOrFour(first.v_samp_factor, second.v_samp_factor);
}

/// Where the rows of a planar decode go, the library's padding to whole blocks included.
struct Plane {
  std::uint8_t* firstRow = nullptr;
  std::size_t stride = 0;
  std::size_t rowsPerStep = 0;  // rows that the library gives at a time
};
using Planes = std::array<Plane, kComponentLimit>;

std::size_t strideOf(const jpeg_component_info& component) {
  const auto factor = static_cast<std::size_t>(component.h_samp_factor);
  const std::size_t units = (component.width_in_blocks + factor - 1) / factor;
  return alignedUp(units * factor * DCTSIZE);
}

/// Allocates the planes in one block and describes them in `raster`.
Planes layOutPlanes(const jpeg_decompress_struct& info, Raster& raster) {
  Planes planes;
  std::array<std::size_t, kComponentLimit> offsets{};
  std::size_t total = 0;
  std::size_t i = 0;
  for (const auto& c : componentsOf(info)) {
    planes[i].stride = strideOf(c);
    planes[i].rowsPerStep = static_cast<std::size_t>(c.v_samp_factor) * DCTSIZE;
    offsets[i] = total;
    total += planes[i].stride * planes[i].rowsPerStep * info.total_iMCU_rows;
    ++i;
  }
  const auto memory = allocateSamples(total);
  i = 0;
  for (const auto& c : componentsOf(info)) {
    planes[i].firstRow = memory.get() + offsets[i];
    raster.components.push_back({planes[i].firstRow, 1, planes[i].stride, c.downsampled_width, c.downsampled_height});
    ++i;
  }
  raster.owner = memory;
  return planes;
}

/// Whether the scans brought everything that they announced: a missing scan is no error to the library. A component
/// must have been in a scan, and coefficients that were begun with less precision must have got the rest. Those that
/// never were in a scan are the encoder's choice, except the mean of a block. Called when the scans of a multi-scan
/// file have been read.
bool hasAllScans(const jpeg_decompress_struct& info) {
  int index = 0;
  for (const auto& component : componentsOf(info)) {
    if (component.quant_table == nullptr) return false;
    if (info.coef_bits != nullptr) {
      const int* const missingBits = info.coef_bits[index];
      if (missingBits[0] != 0) return false;
      for (int k = 1; k < DCTSIZE2; ++k) {
        if (missingBits[k] > 0) return false;
      }
    }
    ++index;
  }
  return true;
}

void start(Session& session) {
  session.info().do_block_smoothing = FALSE;  // it invents detail that was not coded
  jpeg_start_decompress(&session.info());
  if (!hasAllScans(session.info())) session.fail();
}

bool readPlanes(Session& session, const Planes& planes) {
  session.info().raw_data_out = TRUE;
  return session.run([&session, &planes] {
    jpeg_decompress_struct& info = session.info();
    start(session);
    std::array<std::array<JSAMPROW, MAX_SAMP_FACTOR * DCTSIZE>, kComponentLimit> rows{};
    std::array<JSAMPARRAY, kComponentLimit> image{};
    const auto linesPerStep = static_cast<JDIMENSION>(info.max_v_samp_factor * DCTSIZE);
    for (std::size_t step = 0; info.output_scanline < info.output_height; ++step) {
      for (std::size_t c = 0; c < static_cast<std::size_t>(info.num_components); ++c) {
        const Plane& plane = planes[c];
        for (std::size_t y = 0; y < plane.rowsPerStep; ++y) {
          rows[c][y] = plane.firstRow + (step * plane.rowsPerStep + y) * plane.stride;
        }
        image[c] = rows[c].data();
      }
      if (jpeg_read_raw_data(&info, image.data(), linesPerStep) != linesPerStep) session.fail();
    }
    jpeg_finish_decompress(&info);
  });
}

bool readInterleaved(Session& session, J_COLOR_SPACE wanted, std::uint8_t* firstRow, std::size_t stride) {
  session.info().out_color_space = wanted;
  return session.run([&session, firstRow, stride] {
    jpeg_decompress_struct& info = session.info();
    start(session);
    while (info.output_scanline < info.output_height) {
      JSAMPROW row = firstRow + info.output_scanline * stride;
      if (jpeg_read_scanlines(&info, &row, 1) != 1) session.fail();
    }
    jpeg_finish_decompress(&info);
  });
}

bool decodePlanar(Session& session, Raster& raster) {
  return readPlanes(session, layOutPlanes(session.info(), raster));
}

bool decodeInterleaved(Session& session, Raster& raster) {
  const bool inverted = raster.model == SampleModel::cmyk && session.info().saw_Adobe_marker;  // 255 is no ink there
  const bool isCmyk = raster.model == SampleModel::cmyk;
  const std::size_t step = isCmyk ? 4 : 3;
  const std::size_t stride = step * raster.width;
  const std::size_t total = stride * raster.height;
  const auto memory = allocateSamples(total);
  const J_COLOR_SPACE wanted = isCmyk ? JCS_CMYK : session.info().jpeg_color_space;
  if (!readInterleaved(session, wanted, memory.get(), stride)) return false;
  if (inverted) {
    for (std::size_t i = 0; i < total; ++i) memory.get()[i] = static_cast<std::uint8_t>(255 - memory.get()[i]);
  }
  for (std::size_t c = 0; c < step; ++c) {
    raster.components.push_back({memory.get() + c, step, stride, raster.width, raster.height});
  }
  raster.owner = memory;
  return true;
}

/// Reads the header and says what the samples are. Absent, too, where the image is too large or the file is shorter
/// than such an image can be.
Outcome<RasterShape> readShape(Session& session, std::size_t fileSize) {
  if (!session.readHeader()) return session.headerRefusal();
  const auto model = session.sampleModel();
  if (!model) return model.refusal();
  const jpeg_decompress_struct& info = session.info();
  if (std::uint64_t{info.image_width} * info.image_height > kMaximumPixels) return Refusal{"the image is too large"};
  if (!canHoldImage(info, fileSize)) return Refusal{"the file is shorter than an image of that size can be"};
  return RasterShape{.width = info.image_width, .height = info.image_height, .model = *model};
}

/// Reads every code of every scan as a decoding does, with the same errors: they do not depend on the size that is
/// asked for. At an eighth of it a block of luma becomes one sample, and no row is kept.
bool readScans(Session& session) {
  jpeg_decompress_struct& info = session.info();
  info.scale_num = 1;
  info.scale_denom = DCTSIZE;
  info.do_fancy_upsampling = FALSE;
  info.out_color_space = info.jpeg_color_space;
  Bytes row(std::size_t{kComponentLimit} * (info.image_width / DCTSIZE + 1));
  return session.run([&session, &info, firstSample = row.data()] {
    start(session);
    JSAMPROW target = firstSample;
    while (info.output_scanline < info.output_height) {
      if (jpeg_read_scanlines(&info, &target, 1) != 1) session.fail();
    }
    jpeg_finish_decompress(&info);
  });
}

}  // namespace

}  // namespace quellor::jpeg

namespace quellor::formats {

using namespace jpeg;

namespace {

constexpr Refusal kDamaged{"a scan is damaged or missing"};

}  // namespace

Outcome<Look> lookAtJpeg(ByteView file) {
  Session session(file);
  const auto shape = readShape(session, file.size());
  if (!shape) return shape.refusal();
  if (!readScans(session)) return kDamaged;
  return Look{*shape, std::nullopt};
}

Outcome<Raster> decodeJpeg(ByteView file) {
  Session session(file);
  const auto shape = readShape(session, file.size());
  if (!shape) return shape.refusal();
  Raster raster;
  raster.width = shape->width;
  raster.height = shape->height;
  raster.model = shape->model;
  raster.coding.fullRange = true;
  if (raster.model == SampleModel::ycbcr) raster.coding.matrixCoefficients = kBt601Matrix;  // ITU-T T.871, clause 7
  raster.chromaSiting = ChromaSiting::centre;                                               // clause 6
  const bool planar = staysPlanar(session.info(), raster.model);
  if (!(planar ? decodePlanar(session, raster) : decodeInterleaved(session, raster))) return kDamaged;
  return raster;
}

}  // namespace quellor::formats
