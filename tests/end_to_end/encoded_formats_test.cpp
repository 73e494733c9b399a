// HEIC files made of pictures in other formats: what is shown of them, by the HEIF library's decoder and ImageMagick.

#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/gif_fixture.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/png_fixture.h"
#include "tests/support/shown_picture.h"
#include "tests/support/tiff_fixture.h"
#include "tests/support/webp_fixture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::JpegSpec;
using test_support::kEncodeCandidate;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::Picture;
using test_support::Pixel;
using test_support::WrittenImage;

constexpr std::uint32_t kWidth = 33, kHeight = 21;

Pixel slopes(std::uint32_t x, std::uint32_t y) {
  const int level = static_cast<int>(60 + 2 * x + 4 * y);
  return {level, level, level, 255};
}

Pixel fadingSlopes(std::uint32_t x, std::uint32_t y) {
  Pixel pixel = slopes(x, y);
  pixel[3] = static_cast<int>(255 - 4 * x);
  return pixel;
}

/// The same with its colours multiplied by alpha.
Pixel premultipliedSlopes(std::uint32_t x, std::uint32_t y) {
  Pixel pixel = fadingSlopes(x, y);
  for (std::size_t i = 0; i < 3; ++i) pixel[i] = static_cast<int>(std::lround(pixel[i] * pixel[3] / 255.0));
  return pixel;
}

/// Nothing at all on the left, orange on the right.
Pixel cutOut(std::uint32_t x, std::uint32_t) { return x < 16 ? Pixel{0, 0, 0, 0} : Pixel{200, 120, 40, 255}; }

Pixel white(std::uint32_t, std::uint32_t) { return {255, 255, 255, 255}; }
Pixel black(std::uint32_t, std::uint32_t) { return {0, 0, 0, 255}; }

Bytes pngOf(int colorType, Picture picture, int bitDepth = 8) {
  test_support::PngSpec spec;
  spec.width = kWidth;
  spec.height = kHeight;
  spec.colorType = colorType;
  spec.bitDepth = bitDepth;
  spec.sample = [=](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    const bool grey = colorType == 4 || colorType == 0;
    const int value = picture(x, y)[grey && component == 1 ? 3 : component];
    return static_cast<std::uint32_t>(bitDepth == 16 ? value * 257 : value);
  };
  return test_support::encodePng(spec);
}

Bytes palettePng() {
  test_support::PngSpec spec;
  spec.width = kWidth;
  spec.height = kHeight;
  spec.colorType = 3;
  spec.palette = {{0, 0, 0}, {200, 120, 40}};
  spec.paletteAlpha = {0};
  spec.sample = [](std::uint32_t x, std::uint32_t, std::uint32_t) { return x < 16 ? 0U : 1U; };
  return test_support::encodePng(spec);
}

Bytes colorKeyedPng() {
  test_support::PngSpec spec;
  spec.width = kWidth;
  spec.height = kHeight;
  spec.transparentColor = {0, 0, 0};
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    return static_cast<std::uint32_t>(cutOut(x, y)[component]);
  };
  return test_support::encodePng(spec);
}

Bytes gifOf(bool transparent) {
  test_support::GifFrameRecipe frame;
  frame.width = kWidth;
  frame.height = kHeight;
  frame.codeSize = 2;
  if (transparent) frame.transparentIndex = 0;
  for (std::uint32_t i = 0; i < kWidth * kHeight; ++i) frame.indexes.push_back(i % kWidth < 16 && transparent ? 0 : 1);
  test_support::GifRecipe recipe;
  recipe.width = kWidth;
  recipe.height = kHeight;
  recipe.globalMap = {0, 0, 0, 200, 120, 40};
  recipe.frames = {frame};
  return test_support::gifFile(recipe);
}

std::vector<int> samplesOf(Picture picture, std::size_t components) {
  std::vector<int> samples;
  for (std::uint32_t y = 0; y < kHeight; ++y) {
    for (std::uint32_t x = 0; x < kWidth; ++x) {
      const Pixel pixel = picture(x, y);
      samples.insert(samples.end(), pixel.begin(), pixel.begin() + static_cast<std::ptrdiff_t>(components));
    }
  }
  return samples;
}

test_support::WebpPicture webpPicture(Picture picture) { return {kWidth, kHeight, samplesOf(picture, 4)}; }

constexpr std::uint16_t kGreyTiff = 1, kRgbTiff = 2, kCmykTiff = 5;    // TIFF 6.0, PhotometricInterpretation
constexpr std::uint32_t kAssociatedAlpha = 1, kUnassociatedAlpha = 2;  // section 18

Bytes tiffOf(std::uint16_t photometric, std::vector<int> samples, std::vector<std::uint32_t> extraSamples = {}) {
  test_support::TiffPicture picture;
  picture.width = kWidth;
  picture.height = kHeight;
  picture.photometric = photometric;
  picture.samples = static_cast<std::uint16_t>(samples.size() / kWidth / kHeight);
  picture.extraSamples = std::move(extraSamples);
  picture.values.assign(samples.begin(), samples.end());
  return test_support::tiffFile({test_support::tiffPage(picture)});
}

/// Inks as the format has them, 255 for none (Adobe Technical Note 5116: CMYK files of that maker are inverted).
Bytes cmykJpegOf(JpegSpec::Coding coding, std::array<std::uint8_t, 4> inks) {
  JpegSpec spec;
  spec.width = kWidth;
  spec.height = kHeight;
  spec.coding = coding;
  spec.flat = inks;
  return test_support::encodeJpeg(spec);
}

Bytes cmykTiffOf(std::array<int, 4> inks) {
  std::vector<int> samples;
  for (std::uint32_t i = 0; i < kWidth * kHeight; ++i) samples.insert(samples.end(), inks.begin(), inks.end());
  return tiffOf(kCmykTiff, samples);
}

struct Source {
  const char* name;
  std::function<Bytes()> file;
  Picture picture;
  const char* space = "kCGColorSpaceSRGB";  // of the output
  bool premultiplied = false;

  [[nodiscard]] bool hasAlpha() const { return picture(kWidth - 1, 0)[3] < 255 || picture(0, 0)[3] < 255; }
  friend void PrintTo(const Source& source, std::ostream* out) { *out << source.name; }
};

class EncodedFormat : public ::testing::TestWithParam<Source> {
 protected:
  void SetUp() override {
    if (!test_support::requireJudge(test_support::kPictureJudge)) return;
  }
};

TEST_P(EncodedFormat, IsShownInItsSizeAndColorsWithItsAlpha) {
  const Source& source = GetParam();
  const Bytes input = source.file();
  for (const char* operation : {kEncodeCandidate, kRewriteFromSource, kRewriteDecoded}) {
    SCOPED_TRACE(operation);
    const WrittenImage image(operation, input, 0.9);
    ASSERT_TRUE(image.written()) << image.answer();
    const json& output = image.answer()["output"];
    EXPECT_EQ(output["width"], kWidth);
    EXPECT_EQ(output["height"], kHeight);
    EXPECT_EQ(output["bitDepth"], 8);
    EXPECT_EQ(output["colorSpaceName"], source.space);
    for (const char* side : {"input", "output"}) {
      const auto keys = image.answer()[side]["metadataKeys"].get<std::vector<std::string>>();
      EXPECT_EQ(std::count(keys.begin(), keys.end(), "HasAlpha"), source.hasAlpha() ? 1 : 0) << side;
    }
    EXPECT_EQ(test_support::alphaTold(image.path()), source.premultiplied ? "yes (premultiplied)"
                                                     : source.hasAlpha()  ? "yes"
                                                                          : "no");
    const std::string pixels = test_support::shownPixels(image.path(), kWidth, kHeight);
    const auto differences = test_support::differencesFrom(source.picture, pixels, kWidth);
    RecordProperty("largestDifferenceOfAlpha", differences.alpha);
    RecordProperty("meanDifferenceOfColour", std::to_string(differences.color));
    EXPECT_LE(differences.alpha, source.hasAlpha() ? 3 : 0);
    EXPECT_LT(differences.color, 3);
  }
}

constexpr const char* kGrey = "kCGColorSpaceGenericGrayGamma2_2";

INSTANTIATE_TEST_SUITE_P(
    Of, EncodedFormat,
    ::testing::Values(
        Source{"PNG", [] { return pngOf(2, slopes); }, slopes},
        Source{"PNG with alpha", [] { return pngOf(6, fadingSlopes); }, fadingSlopes},
        Source{"grey PNG with alpha", [] { return pngOf(4, fadingSlopes); }, fadingSlopes, kGrey},
        Source{"PNG with a palette", palettePng, cutOut},
        Source{"PNG with a transparent colour", colorKeyedPng, cutOut},
        Source{"GIF", [] { return gifOf(false); },
               [](std::uint32_t, std::uint32_t) {
                 return Pixel{200, 120, 40, 255};
               }},
        Source{"GIF with transparency", [] { return gifOf(true); }, cutOut},
        Source{"WebP", [] { return test_support::losslessWebp(webpPicture(slopes)); }, slopes},
        Source{"WebP with alpha", [] { return test_support::losslessWebp(webpPicture(fadingSlopes)); }, fadingSlopes},
        Source{"lossy WebP with alpha", [] { return test_support::lossyWebp(webpPicture(fadingSlopes)); },
               fadingSlopes},
        Source{"TIFF", [] { return tiffOf(kRgbTiff, samplesOf(slopes, 3)); }, slopes},
        Source{"grey TIFF", [] { return tiffOf(kGreyTiff, samplesOf(slopes, 1)); }, slopes, kGrey},
        Source{"TIFF with alpha", [] { return tiffOf(kRgbTiff, samplesOf(fadingSlopes, 4), {kUnassociatedAlpha}); },
               fadingSlopes},
        Source{"TIFF with premultiplied alpha",
               [] { return tiffOf(kRgbTiff, samplesOf(premultipliedSlopes, 4), {kAssociatedAlpha}); },
               premultipliedSlopes, "kCGColorSpaceSRGB", true},
        Source{"white CMYK TIFF",
               [] {
                 return cmykTiffOf({0, 0, 0, 0});
               },
               white},
        Source{"black CMYK TIFF",
               [] {
                 return cmykTiffOf({0, 0, 0, 255});
               },
               black},
        Source{"white CMYK JPEG",
               [] {
                 return cmykJpegOf(JpegSpec::Coding::cmyk, {255, 255, 255, 255});
               },
               white},
        Source{"black CMYK JPEG",
               [] {
                 return cmykJpegOf(JpegSpec::Coding::cmyk, {255, 255, 255, 0});
               },
               black},
        Source{"white YCCK JPEG",
               [] {
                 return cmykJpegOf(JpegSpec::Coding::ycck, {255, 255, 255, 255});
               },
               white},
        Source{"black YCCK JPEG",
               [] {
                 return cmykJpegOf(JpegSpec::Coding::ycck, {255, 255, 255, 0});
               },
               black}),
    [](const auto& tested) { return test_support::testName(tested.param.name); });

// Cyan, whatever exact red a conversion without a profile gives.
TEST(CmykInks, HaveTheirColor) {
  const WrittenImage image(kRewriteDecoded, cmykTiffOf({255, 0, 0, 0}));
  ASSERT_TRUE(image.written()) << image.answer();
  const test_support::StoredPixels stored = test_support::exportPixels(image.path());
  ASSERT_TRUE(stored.written()) << stored.answer;
  EXPECT_LT(stored.pixels()[0], 100);
  EXPECT_GT(stored.pixels()[1], 150);
  EXPECT_GT(stored.pixels()[2], 150);
}

}  // namespace
}  // namespace quellor
