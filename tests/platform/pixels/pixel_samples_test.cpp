#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <libheif/heif.h>

#include "platform/pixels/rgbx_drawing.h"
#include "platform/values/bytes.h"
#include "tests/support/corpus.h"
#include "tests/support/format_samples.h"

namespace quellor {
namespace {

/// What the HEIF library makes of a picture without rotation: 8-bit RGB. It interpolates colour differences as if they
/// lay amid the luma samples, and gets its outermost rows and columns wrong.
class JudgedPicture {
 public:
  explicit JudgedPicture(const std::string& path) : context_(heif_context_alloc(), heif_context_free) {
    heif_image_handle* handle = nullptr;
    if (heif_context_read_from_file(context_.get(), path.c_str(), nullptr).code != 0) return;
    if (heif_context_get_primary_image_handle(context_.get(), &handle).code != 0) return;
    const std::unique_ptr<heif_image_handle, void (*)(const heif_image_handle*)> primary(handle,
                                                                                         heif_image_handle_release);
    const std::unique_ptr<heif_decoding_options, void (*)(heif_decoding_options*)> options(
        heif_decoding_options_alloc(), heif_decoding_options_free);
    options->convert_hdr_to_8bit = 1;
    options->color_conversion_options.preferred_chroma_upsampling_algorithm = heif_chroma_upsampling_bilinear;
    options->color_conversion_options.only_use_preferred_chroma_algorithm = 1;
    heif_image* image = nullptr;
    if (heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGB, options.get()).code != 0) {
      return;
    }
    image_.reset(image);
    pixels_ = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride_);
  }

  [[nodiscard]] bool matches(const Raster& raster) const {
    return pixels_ != nullptr && heif_image_get_primary_width(image_.get()) == static_cast<int>(raster.width) &&
           heif_image_get_primary_height(image_.get()) == static_cast<int>(raster.height);
  }

  [[nodiscard]] int at(std::uint32_t x, std::uint32_t y, std::size_t color) const {
    return pixels_[std::size_t{y} * static_cast<std::size_t>(stride_) + std::size_t{x} * 3 + color];
  }

 private:
  std::unique_ptr<heif_context, void (*)(heif_context*)> context_;
  std::unique_ptr<const heif_image, void (*)(const heif_image*)> image_{nullptr, heif_image_release};
  const std::uint8_t* pixels_ = nullptr;
  int stride_ = 0;
};

Outcome<Raster> decodeSample(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const Bytes file((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  return test_support::imageFormat("HEIF").decode(file);
}

int largestDifference(const Bytes& pixels, const Raster& raster, const JudgedPicture& judge) {
  constexpr std::uint32_t kBorder = 4;
  int largest = 0;
  for (std::uint32_t y = kBorder; y + kBorder < raster.height; ++y) {
    for (std::uint32_t x = kBorder; x + kBorder < raster.width; ++x) {
      for (std::size_t color = 0; color < 3; ++color) {
        const int ours = pixels[(std::size_t{y} * raster.width + x) * 4 + color];
        largest = std::max(largest, std::abs(ours - judge.at(x, y, color)));
      }
    }
  }
  return largest;
}

struct Sample {
  const char* file;
  /// The library's integer arithmetic for limited range is off by one, and so are, before the matrix makes more of it,
  /// the samples that it cuts from more than 8 bits.
  int tolerance;
};

class PixelSamples : public testing::TestWithParam<Sample> {};

TEST_P(PixelSamples, AreDrawnAsTheHeifLibraryDrawsThem) {
  const std::string path = test_support::sampleFile(GetParam().file).string();
  auto raster = decodeSample(path);
  ASSERT_TRUE(raster);
  raster->chromaSiting = ChromaSiting::centre;
  Bytes pixels(std::size_t{raster->width} * raster->height * 4);
  ASSERT_TRUE(pixels::drawRgbx(*raster, pixels));
  const JudgedPicture judge(path);
  ASSERT_TRUE(judge.matches(*raster));
  EXPECT_LE(largestDifference(pixels, *raster, judge), GetParam().tolerance);
}

std::vector<Sample> samples() {
  std::vector<Sample> all = {
      {"made/hevc-8-bit-420.heic", 1},    {"made/hevc-8-bit-422.heic", 1},    {"made/hevc-8-bit-444.heic", 1},
      {"made/hevc-10-bit-420.heic", 3},   {"made/hevc-12-bit-444.heic", 3},   {"made/nclx-bt709-limited.heic", 2},
      {"made/grid-clipped-both.heic", 1}, {"made/coding-wavefronts.heic", 1}, {"made/coding-lossless.heic", 1}};
  if (!test_support::hasSampleFolder()) return all;
  const Sample others[] = {Sample{"special/other_RGB_8_chroma444.heif", 1},
                           Sample{"special/other_empty_icc.heic", 1},
                           Sample{"special/RGB_8__29x100.heif", 1},
                           Sample{"special/RGB_10__29x100.heif", 3},
                           Sample{"special/RGB_12__128x128.heif", 3},
                           Sample{"special/single.heic", 2},
                           Sample{"conformance/C001.heic", 2},
                           Sample{"conformance/C013.heic", 2},
                           Sample{"photos/phone-small.heic", 1},
                           Sample{"photos/phone-grid-12mp.heic", 1},
                           Sample{"photos/headset-spatial-pair.heic", 1},
                           Sample{"photos/camera-10bit-422.hif", 3}};
  all.insert(all.end(), std::begin(others), std::end(others));
  return all;
}

INSTANTIATE_TEST_SUITE_P(Heif, PixelSamples, testing::ValuesIn(samples()), [](const auto& parameter) {
  std::string name = std::filesystem::path(parameter.param.file).stem();
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
  return name;
});

}  // namespace
}  // namespace quellor
