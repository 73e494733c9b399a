#include "tests/support/jpeg_fixture.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <jpeglib.h>

namespace quellor::test_support {
namespace {

J_COLOR_SPACE codedSpace(JpegSpec::Coding coding) {
  switch (coding) {
    case JpegSpec::Coding::grey:
      return JCS_GRAYSCALE;
    case JpegSpec::Coding::ycbcr:
      return JCS_YCbCr;
    case JpegSpec::Coding::rgb:
      return JCS_RGB;
    case JpegSpec::Coding::cmyk:
      return JCS_CMYK;
    case JpegSpec::Coding::ycck:
      return JCS_YCCK;
  }
  return JCS_UNKNOWN;
}

int inputComponents(JpegSpec::Coding coding) {
  if (coding == JpegSpec::Coding::grey) return 1;
  return coding == JpegSpec::Coding::ycbcr || coding == JpegSpec::Coding::rgb ? 3 : 4;
}

/// Smooth in one direction, so that neighbouring samples differ but compression leaves them near.
std::uint8_t patternAt(std::uint32_t x, std::uint32_t y, std::uint32_t component) {
  return static_cast<std::uint8_t>(40 + (x * (7 + component) + y * 5 + component * 50) % 170);
}

std::uint8_t sampleOf(const JpegSpec& spec, std::uint32_t x, std::uint32_t y, std::uint32_t component) {
  if (spec.flat) return (*spec.flat)[component];
  return spec.sample ? spec.sample(x, y, component) : patternAt(x, y, component);
}

std::vector<jpeg_scan_info> scriptOf(const std::vector<JpegScan>& scans) {
  std::vector<jpeg_scan_info> script;
  for (const JpegScan& scan : scans) {
    jpeg_scan_info info{};
    info.comps_in_scan = static_cast<int>(scan.components.size());
    std::copy(scan.components.begin(), scan.components.end(), info.component_index);
    info.Ss = scan.firstCoefficient;
    info.Se = scan.lastCoefficient;
    info.Ah = scan.highBit;
    info.Al = scan.lowBit;
    script.push_back(info);
  }
  return script;
}

void configure(jpeg_compress_struct& info, const JpegSpec& spec, const std::vector<jpeg_scan_info>& script) {
  info.image_width = spec.width;
  info.image_height = spec.height;
  info.input_components = inputComponents(spec.coding);
  info.in_color_space = spec.coding == JpegSpec::Coding::ycck ? JCS_CMYK : codedSpace(spec.coding);
  jpeg_set_defaults(&info);
  jpeg_set_colorspace(&info, codedSpace(spec.coding));
  jpeg_set_quality(&info, 95, TRUE);
  for (int c = 0; c < info.num_components; ++c) {
    info.comp_info[c].h_samp_factor = c == 0 ? spec.horizontalFactor : 1;
    info.comp_info[c].v_samp_factor = c == 0 ? spec.verticalFactor : 1;
  }
  info.restart_interval = static_cast<unsigned>(spec.restartInterval);
  info.arith_code = spec.arithmetic ? TRUE : FALSE;
  info.JFIF_major_version = static_cast<UINT8>(spec.jfifMajorVersion);
  info.density_unit = static_cast<UINT8>(spec.densityUnit);
  info.X_density = spec.xDensity;
  info.Y_density = spec.yDensity;
  if (spec.progressive) jpeg_simple_progression(&info);
  if (!script.empty()) {
    info.scan_info = script.data();
    info.num_scans = static_cast<int>(script.size());
  }
}

}  // namespace

Bytes encodeJpeg(const JpegSpec& spec) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &data, &size);
  const std::vector<jpeg_scan_info> script = scriptOf(spec.scans);
  configure(info, spec, script);
  jpeg_start_compress(&info, TRUE);
  for (const auto& [marker, payload] : spec.segments) {
    jpeg_write_marker(&info, marker, payload.data(), static_cast<unsigned>(payload.size()));
  }
  const auto components = static_cast<std::size_t>(info.input_components);
  Bytes row(spec.width * components);
  for (std::uint32_t y = 0; y < spec.height; ++y) {
    for (std::uint32_t x = 0; x < spec.width; ++x) {
      for (std::uint32_t c = 0; c < components; ++c) {
        row[x * components + c] = sampleOf(spec, x, y, c);
      }
    }
    JSAMPROW pointer = row.data();
    jpeg_write_scanlines(&info, &pointer, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, &std::free);
  return {data, data + size};
}

Bytes decodeJpegPlainly(ByteView file) {
  jpeg_decompress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&info, TRUE);
  info.out_color_space = info.jpeg_color_space == JCS_YCCK ? JCS_CMYK : info.jpeg_color_space;
  info.do_fancy_upsampling = FALSE;
  jpeg_start_decompress(&info);
  const std::size_t stride = std::size_t{info.output_width} * static_cast<std::size_t>(info.output_components);
  Bytes samples(stride * info.output_height);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = samples.data() + info.output_scanline * stride;
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return samples;
}

std::size_t lastPlaceOf(ByteView bytes, ByteView file) {
  const auto place = std::find_end(file.begin(), file.end(), bytes.begin(), bytes.end());
  return static_cast<std::size_t>(place - file.begin());
}

std::size_t firstPlaceOf(ByteView bytes, ByteView file) {
  const auto place = std::search(file.begin(), file.end(), bytes.begin(), bytes.end());
  return static_cast<std::size_t>(place - file.begin());
}

}  // namespace quellor::test_support
