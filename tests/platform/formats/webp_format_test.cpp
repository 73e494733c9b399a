#include <cstdlib>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <webp/decode.h>

#include "tests/support/format_samples.h"
#include "tests/support/webp_fixture.h"

namespace quellor {
namespace {

using test_support::losslessWebp;
using test_support::lossyWebp;
using test_support::samplesOf;
using test_support::WebpChunk;
using test_support::webpChunks;
using test_support::webpFile;
using test_support::webpFrame;
using test_support::webpHeader;
using test_support::WebpPicture;

constexpr std::uint8_t kProfileFlag = 0x20;
constexpr std::uint8_t kAlphaFlag = 0x10;
constexpr std::uint8_t kExifFlag = 0x08;
constexpr std::uint8_t kXmpFlag = 0x04;
constexpr std::uint8_t kAnimationFlag = 0x02;

class WebpFormat : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(format_, nullptr); }

  Outcome<ImageFacts> describe(const Bytes& file) const { return format_->describe(file); }
  Outcome<Raster> decode(const Bytes& file) const { return format_->decode(file); }

 private:
  const ImageFormat* format_ = &test_support::imageFormat("WebP");
};

/// Pixels that all differ; `alpha` says whether they are of all opacities or opaque.
WebpPicture picture(std::uint32_t width, std::uint32_t height, bool alpha) {
  WebpPicture result{width, height, {}};
  for (std::uint32_t i = 0; i < width * height; ++i) {
    for (const std::uint32_t factor : {7U, 13U, 29U}) result.rgba.push_back(static_cast<int>(i * factor % 256));
    result.rgba.push_back(alpha ? static_cast<int>(i * 11 % 256) : 255);
  }
  return result;
}

std::vector<int> withoutAlpha(const std::vector<int>& rgba) {
  std::vector<int> rgb;
  for (std::size_t i = 0; i < rgba.size(); ++i) {
    if (i % 4 != 3) rgb.push_back(rgba[i]);
  }
  return rgb;
}

std::vector<int> alphaOf(const WebpPicture& source) {
  std::vector<int> alpha;
  for (std::size_t i = 3; i < source.rgba.size(); i += 4) alpha.push_back(source.rgba[i]);
  return alpha;
}

struct Size {
  std::uint32_t width;
  std::uint32_t height;
};
constexpr Size kSizes[] = {{1, 1}, {3, 5}, {17, 9}, {64, 33}, {130, 71}};

TEST_F(WebpFormat, GivesEverySampleOfALosslessPicture) {
  for (const Size& size : kSizes) {
    for (const bool alpha : {false, true}) {
      const WebpPicture source = picture(size.width, size.height, alpha);
      const Bytes file = losslessWebp(source);
      const auto facts = describe(file);
      ASSERT_TRUE(facts);
      EXPECT_EQ(facts->imageCount, 1U);
      EXPECT_EQ(facts->width, size.width);
      EXPECT_EQ(facts->height, size.height);
      EXPECT_EQ(facts->bitsPerComponent, 8);
      EXPECT_EQ(facts->colorModel, ColorModel::rgb);
      EXPECT_EQ(facts->hasAlpha, alpha);
      const auto raster = decode(file);
      ASSERT_TRUE(raster);
      EXPECT_EQ(raster->model, SampleModel::rgb);
      EXPECT_EQ(raster->alpha.has_value(), alpha);
      EXPECT_FALSE(raster->premultiplied);
      EXPECT_EQ(samplesOf(*raster), alpha ? source.rgba : withoutAlpha(source.rgba)) << size.width;
    }
  }
}

struct Planes {
  std::vector<int> luma, blue, red;
};

/// The planes as the library's simplest function gives them.
Planes planesOf(const Bytes& file) {
  struct Free {
    void operator()(std::uint8_t* memory) const { WebPFree(memory); }
  };
  int width = 0, height = 0, stride = 0, chromaStride = 0;
  std::uint8_t *blue = nullptr, *red = nullptr;
  const std::unique_ptr<std::uint8_t, Free> luma(
      WebPDecodeYUV(file.data(), file.size(), &width, &height, &blue, &red, &stride, &chromaStride));
  const auto copy = [](const std::uint8_t* first, int columns, int rows, int step) {
    std::vector<int> samples;
    for (int y = 0; y < rows; ++y) samples.insert(samples.end(), first + y * step, first + y * step + columns);
    return samples;
  };
  const int columns = (width + 1) / 2;
  const int rows = (height + 1) / 2;
  return {copy(luma.get(), width, height, stride), copy(blue, columns, rows, chromaStride),
          copy(red, columns, rows, chromaStride)};
}

TEST_F(WebpFormat, GivesThePlanesOfALossyPictureAsCoded) {
  for (const Size& size : kSizes) {
    for (const bool alpha : {false, true}) {
      const WebpPicture source = picture(size.width, size.height, alpha);
      const Bytes file = lossyWebp(source);
      ASSERT_TRUE(describe(file));
      EXPECT_EQ(describe(file)->hasAlpha, alpha);
      const auto raster = decode(file);
      ASSERT_TRUE(raster);
      ASSERT_EQ(raster->model, SampleModel::ycbcr);
      ASSERT_EQ(raster->components.size(), 3U);
      EXPECT_EQ(raster->coding.matrixCoefficients, 6);
      EXPECT_FALSE(raster->coding.fullRange);
      EXPECT_EQ(raster->components[1].width, (size.width + 1) / 2);
      EXPECT_EQ(raster->components[2].height, (size.height + 1) / 2);
      const Planes expected = planesOf(file);
      EXPECT_EQ(samplesOf(raster->components[0], 8), expected.luma);
      EXPECT_EQ(samplesOf(raster->components[1], 8), expected.blue);
      EXPECT_EQ(samplesOf(raster->components[2], 8), expected.red);
      ASSERT_EQ(raster->alpha.has_value(), alpha);
      if (alpha) {
        EXPECT_EQ(samplesOf(*raster->alpha, 8), alphaOf(source));
      }
    }
  }
}

TEST_F(WebpFormat, CodesColorInTheLimitedRangeOfBt601) {
  struct Row {
    std::vector<int> pixel;
    int luma, blue, red;  // ITU-R BT.601, 8-bit quantisation
  };
  for (const Row& row : {Row{{0, 0, 0, 255}, 16, 128, 128}, Row{{255, 255, 255, 255}, 235, 128, 128},
                         Row{{255, 0, 0, 255}, 81, 90, 240}, Row{{0, 0, 255, 255}, 41, 240, 110}}) {
    WebpPicture source{16, 16, {}};
    for (int i = 0; i < 256; ++i) source.rgba.insert(source.rgba.end(), row.pixel.begin(), row.pixel.end());
    const auto raster = decode(lossyWebp(source));
    ASSERT_TRUE(raster);
    EXPECT_NEAR(samplesOf(raster->components[0], 8)[100], row.luma, 2);
    EXPECT_NEAR(samplesOf(raster->components[1], 8)[20], row.blue, 2);
    EXPECT_NEAR(samplesOf(raster->components[2], 8)[20], row.red, 2);
  }
}

/// A still with these chunks around its picture.
Bytes extended(const Bytes& still, Size size, std::uint8_t flags, const std::vector<WebpChunk>& before,
               const std::vector<WebpChunk>& after) {
  std::vector<WebpChunk> chunks{webpHeader(flags, size.width, size.height)};
  chunks.insert(chunks.end(), before.begin(), before.end());
  for (const WebpChunk& chunk : webpChunks(still)) {
    if (chunk.fourCc != "VP8X") chunks.push_back(chunk);
  }
  chunks.insert(chunks.end(), after.begin(), after.end());
  return webpFile(chunks);
}

TEST_F(WebpFormat, HandsOutTheBlocksByteForByte) {
  const Bytes icc{1, 2, 3, 4, 5};
  const Bytes exif{'I', 'I', 42, 0, 8, 0, 0, 0, 0, 0};
  const Bytes xmp{'<', 'x', '/', '>'};
  Bytes prefixed{'E', 'x', 'i', 'f', 0, 0};
  prefixed.insert(prefixed.end(), exif.begin(), exif.end());
  for (const Bytes& still : {losslessWebp(picture(3, 5, false)), lossyWebp(picture(3, 5, false))}) {
    for (const Bytes& block : {exif, prefixed}) {
      const Bytes file = extended(still, {3, 5}, kProfileFlag | kExifFlag | kXmpFlag, {{"ICCP", icc}},
                                  {{"EXIF", block}, {"XMP ", xmp}});
      const auto facts = describe(file);
      ASSERT_TRUE(facts);
      EXPECT_EQ(facts->iccProfile, icc);
      EXPECT_EQ(facts->metadata.exif, exif);
      EXPECT_EQ(facts->metadata.xmp, xmp);
      EXPECT_TRUE(decode(file));
    }
  }
}

TEST_F(WebpFormat, LeavesOutAnExifBlockThatIsNone) {
  const Bytes onePrefix{'E', 'x', 'i', 'f', 0, 0};
  for (const Bytes& block : {Bytes{}, onePrefix, Bytes(20, 'x'), Bytes{'I', 'I', 42}}) {
    const Bytes file = extended(losslessWebp(picture(3, 5, false)), {3, 5}, kExifFlag, {}, {{"EXIF", block}});
    const auto facts = describe(file);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->metadata.exif, std::nullopt);
  }
}

TEST_F(WebpFormat, HasAlphaOnlyWhereItIsCoded) {
  const Bytes file = extended(lossyWebp(picture(17, 9, false)), {17, 9}, kAlphaFlag, {}, {});
  EXPECT_FALSE(describe(file).value().hasAlpha);
  EXPECT_FALSE(decode(file).value().alpha);
}

Bytes animation(Size canvas, const std::vector<WebpChunk>& frames) {
  std::vector<WebpChunk> chunks{webpHeader(kAnimationFlag | kAlphaFlag, canvas.width, canvas.height),
                                test_support::webpAnimation()};
  chunks.insert(chunks.end(), frames.begin(), frames.end());
  return webpFile(chunks);
}

TEST_F(WebpFormat, CountsFramesAndGivesTheFirst) {
  const WebpPicture first = picture(17, 9, false);
  const WebpChunk firstFrame = webpFrame(losslessWebp(first), 0, 0, 17, 9);
  const WebpChunk otherFrame = webpFrame(lossyWebp(picture(3, 5, true)), 2, 4, 3, 5);
  const Bytes file = animation({17, 9}, {firstFrame, otherFrame, otherFrame});
  const auto facts = describe(file);
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->imageCount, 3U);
  EXPECT_EQ(facts->width, 17U);
  EXPECT_EQ(facts->height, 9U);
  EXPECT_FALSE(facts->hasAlpha);
  EXPECT_EQ(samplesOf(decode(file).value()), withoutAlpha(first.rgba));
}

TEST_F(WebpFormat, PutsASmallFirstFrameOnATransparentCanvas) {
  const WebpPicture source = picture(3, 5, true);
  const Bytes file = animation({10, 12}, {webpFrame(losslessWebp(source), 6, 4, 3, 5)});
  EXPECT_TRUE(describe(file).value().hasAlpha);
  const auto raster = decode(file);
  ASSERT_TRUE(raster && raster->alpha);
  std::vector<int> expected(10 * 12 * 4);
  for (std::size_t y = 0; y < 5; ++y) {
    for (std::size_t i = 0; i < 12; ++i) expected[((y + 4) * 10 + 6) * 4 + i] = source.rgba[y * 12 + i];
  }
  EXPECT_EQ(samplesOf(*raster), expected);
}

TEST_F(WebpFormat, ConvertsASmallLossyFirstFrame) {
  WebpPicture source{4, 4, {}};
  for (int i = 0; i < 16; ++i) source.rgba.insert(source.rgba.end(), {255, 255, 255, 255});
  const auto raster = decode(animation({6, 4}, {webpFrame(lossyWebp(source), 2, 0, 4, 4)}));
  ASSERT_TRUE(raster && raster->alpha);
  EXPECT_EQ(raster->model, SampleModel::rgb);
  const std::vector<int> samples = samplesOf(*raster);
  EXPECT_EQ((std::vector<int>{samples[4], samples[7]}), (std::vector<int>{0, 0}));
  EXPECT_GE(samples[8], 253);
  EXPECT_EQ(samples[11], 255);
}

TEST_F(WebpFormat, GivesALossyFirstFrameThatCoversTheCanvasAsCoded) {
  const Bytes still = lossyWebp(picture(17, 9, false));
  const auto raster = decode(animation({17, 9}, {webpFrame(still, 0, 0, 17, 9)}));
  ASSERT_TRUE(raster);
  EXPECT_EQ(samplesOf(raster->components.at(0), 8), planesOf(still).luma);
}

TEST_F(WebpFormat, RefusesAFrameThatLeavesTheCanvas) {
  const Bytes still = losslessWebp(picture(3, 5, false));
  for (const Bytes& file :
       {animation({4, 5}, {webpFrame(still, 2, 0, 3, 5)}), animation({3, 4}, {webpFrame(still, 0, 0, 3, 5)})}) {
    EXPECT_FALSE(describe(file));
    EXPECT_FALSE(decode(file));
  }
}

TEST_F(WebpFormat, RefusesFilesThatEndEarly) {
  const Bytes files[] = {losslessWebp(picture(33, 20, true)), lossyWebp(picture(33, 20, true)),
                         lossyWebp(picture(33, 20, false)),
                         animation({17, 9}, {webpFrame(losslessWebp(picture(17, 9, true)), 0, 0, 17, 9),
                                             webpFrame(lossyWebp(picture(3, 5, false)), 0, 0, 3, 5)})};
  for (const Bytes& file : files) {
    ASSERT_TRUE(decode(file));
    for (std::size_t size = 0; size < file.size(); ++size) {
      const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_FALSE(describe(cut)) << size << " of " << file.size();
      EXPECT_FALSE(decode(cut)) << size << " of " << file.size();
    }
  }
}

TEST_F(WebpFormat, RefusesABitstreamThatEndsEarlyInAWholeContainer) {
  for (const bool lossy : {false, true}) {
    for (const bool alpha : {false, true}) {
      const WebpPicture source = picture(64, 33, alpha);
      std::vector<WebpChunk> chunks = webpChunks(lossy ? lossyWebp(source) : losslessWebp(source));
      for (WebpChunk& chunk : chunks) {
        if (chunk.fourCc == "VP8X") continue;
        const Bytes whole = chunk.payload;
        for (std::size_t kept = 0; kept + 8 < whole.size(); kept += 1 + whole.size() / 50) {
          chunk.payload.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(kept));
          EXPECT_FALSE(decode(webpFile(chunks))) << chunk.fourCc << ' ' << kept << " of " << whole.size();
        }
        chunk.payload = whole;
      }
    }
  }
}

TEST_F(WebpFormat, RefusesBytesThatAreNoContainer) {
  Bytes file = losslessWebp(picture(3, 5, false));
  EXPECT_FALSE(describe({}));
  EXPECT_FALSE(describe(Bytes(file.begin() + 12, file.end())));
  file[8] = 'X';
  EXPECT_FALSE(describe(file));
  EXPECT_FALSE(decode(file));
}

}  // namespace
}  // namespace quellor
