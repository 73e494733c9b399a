#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/values/image_facts.h"
#include "tests/support/byte_texts.h"
#include "tests/support/format_samples.h"
#include "tests/support/jpeg_fixture.h"

namespace quellor {
namespace {

using test_support::bytesOf;
using test_support::encodeJpeg;
using test_support::JpegSpec;
using Coding = JpegSpec::Coding;

const ImageFormat& jpeg() {
  static const ImageFormat& format = test_support::imageFormat("JPEG");
  return format;
}

std::uint8_t sampleAt(const Component& component, std::uint32_t x, std::uint32_t y) {
  return component.firstSample[y * component.strideBytes + x * component.stepBytes];
}

struct SamplingCase {
  const char* name;
  Coding coding;
  int horizontal;
  int vertical;
};

class JpegSampling : public testing::TestWithParam<std::tuple<SamplingCase, std::pair<int, int>, int>> {};

TEST_P(JpegSampling, GivesTheCodedSamplesOfEveryComponent) {
  const auto& [sampling, size, process] = GetParam();
  JpegSpec spec;
  spec.width = static_cast<std::uint32_t>(size.first);
  spec.height = static_cast<std::uint32_t>(size.second);
  spec.coding = sampling.coding;
  spec.horizontalFactor = sampling.horizontal;
  spec.verticalFactor = sampling.vertical;
  spec.progressive = process == 1 || process == 3;
  spec.arithmetic = process >= 2;
  const Bytes file = encodeJpeg(spec);

  const auto raster = jpeg().decode(file);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->width, spec.width);
  EXPECT_EQ(raster->height, spec.height);
  EXPECT_EQ(raster->bitsPerComponent, 8);
  EXPECT_FALSE(raster->alpha);

  const Bytes expected = test_support::decodeJpegPlainly(file);
  const std::size_t count = raster->components.size();
  ASSERT_EQ(expected.size(), std::size_t{spec.width} * spec.height * count);
  const bool subsampled = raster->model == SampleModel::ycbcr;
  for (std::size_t c = 0; c < count; ++c) {
    const Component& component = raster->components[c];
    const auto h = static_cast<std::uint32_t>(subsampled && c > 0 ? sampling.horizontal : 1);
    const auto v = static_cast<std::uint32_t>(subsampled && c > 0 ? sampling.vertical : 1);
    ASSERT_EQ(component.width, (spec.width + h - 1) / h);
    ASSERT_EQ(component.height, (spec.height + v - 1) / v);
    for (std::uint32_t y = 0; y < spec.height; ++y) {
      for (std::uint32_t x = 0; x < spec.width; ++x) {
        int value = expected[(std::size_t{y} * spec.width + x) * count + c];
        if (raster->model == SampleModel::cmyk) value = 255 - value;  // the encoder adds an Adobe segment
        ASSERT_EQ(sampleAt(component, x / h, y / v), value) << "component " << c << " at " << x << "," << y;
      }
    }
  }
}

constexpr SamplingCase kSamplings[] = {
    {"grey", Coding::grey, 1, 1},    {"grey2x2", Coding::grey, 2, 2}, {"yuv444", Coding::ycbcr, 1, 1},
    {"yuv422", Coding::ycbcr, 2, 1}, {"yuv420", Coding::ycbcr, 2, 2}, {"yuv440", Coding::ycbcr, 1, 2},
    {"yuv411", Coding::ycbcr, 4, 1}, {"yuv410", Coding::ycbcr, 4, 2}, {"rgb", Coding::rgb, 1, 1},
    {"cmyk", Coding::cmyk, 1, 1},    {"ycck", Coding::ycck, 1, 1},
};
constexpr const char* kProcesses[] = {"sequential", "progressive", "arithmetic", "arithmeticProgressive"};

std::string samplingName(const testing::TestParamInfo<JpegSampling::ParamType>& test) {
  const auto& [sampling, size, process] = test.param;
  return std::string(sampling.name) + "_" + std::to_string(size.first) + "x" + std::to_string(size.second) + "_" +
         kProcesses[process];
}

INSTANTIATE_TEST_SUITE_P(All, JpegSampling,
                         testing::Combine(testing::ValuesIn(kSamplings),
                                          testing::Values(std::pair(1, 1), std::pair(3, 5), std::pair(17, 9),
                                                          std::pair(64, 33)),
                                          testing::Range(0, 4)),
                         samplingName);

TEST(JpegFormat, UpsamplesColorDifferencesAtAThirdOfTheLuma) {
  JpegSpec spec;
  spec.horizontalFactor = 3;
  const Bytes file = encodeJpeg(spec);
  const auto raster = jpeg().decode(file);
  ASSERT_TRUE(raster);
  ASSERT_EQ(raster->model, SampleModel::ycbcr);
  const Bytes expected = test_support::decodeJpegPlainly(file);
  for (std::uint32_t c = 0; c < 3; ++c) {
    EXPECT_EQ(raster->components[c].width, 17U);
    EXPECT_EQ(sampleAt(raster->components[c], 16, 8), expected[(8 * 17 + 16) * 3 + c]);
  }
}

TEST(JpegFormat, UpsamplesWhatHasNoPlanesOfItsOwn) {
  for (const Coding coding : {Coding::rgb, Coding::cmyk, Coding::ycck}) {
    JpegSpec spec;
    spec.coding = coding;
    spec.horizontalFactor = 2;
    spec.flat = {{200, 120, 40, 80}};
    const auto raster = jpeg().decode(encodeJpeg(spec));
    ASSERT_TRUE(raster);
    for (std::size_t c = 0; c < raster->components.size(); ++c) {
      const int stored = (*spec.flat)[c];
      EXPECT_EQ(raster->components[c].width, 17U);
      EXPECT_EQ(raster->components[c].height, 9U);
      EXPECT_NEAR(sampleAt(raster->components[c], 16, 8), coding == Coding::rgb ? stored : 255 - stored, 3);
    }
  }
}

TEST(JpegFormat, SaysWhatTheSamplesMean) {
  JpegSpec spec;
  const auto ycbcr = jpeg().decode(encodeJpeg(spec));
  ASSERT_TRUE(ycbcr);
  EXPECT_EQ(ycbcr->model, SampleModel::ycbcr);
  EXPECT_EQ(ycbcr->coding, (Cicp{2, 2, 6, true}));
  spec.coding = Coding::grey;
  const auto grey = jpeg().decode(encodeJpeg(spec));
  ASSERT_TRUE(grey);
  EXPECT_EQ(grey->model, SampleModel::grey);
  EXPECT_TRUE(grey->coding.fullRange);
}

TEST(JpegFormat, DecodesFlatColorsExactly) {
  // A flat block has nothing but its mean, which the quantisation steps of quality 95 keep within one.
  JpegSpec spec;
  spec.width = 20;
  spec.height = 20;
  spec.flat = {{200, 90, 30, 0}};
  spec.horizontalFactor = spec.verticalFactor = 2;
  const auto raster = jpeg().decode(encodeJpeg(spec));
  ASSERT_TRUE(raster);
  EXPECT_NEAR(sampleAt(raster->components[0], 19, 19), 200, 1);
  EXPECT_NEAR(sampleAt(raster->components[1], 9, 9), 90, 1);
  EXPECT_NEAR(sampleAt(raster->components[2], 9, 9), 30, 1);
}

TEST(JpegFormat, TurnsAdobesInvertedInkRound) {
  // The encoder is given 255 - ink, as files with an Adobe segment have it.
  for (const Coding coding : {Coding::cmyk, Coding::ycck}) {
    JpegSpec spec;
    spec.coding = coding;
    spec.flat = {{255, 155, 55, 5}};
    const auto raster = jpeg().decode(encodeJpeg(spec));
    ASSERT_TRUE(raster);
    ASSERT_EQ(raster->model, SampleModel::cmyk);
    constexpr int kInk[] = {0, 100, 200, 250};
    for (std::size_t c = 0; c < 4; ++c) EXPECT_NEAR(sampleAt(raster->components[c], 3, 3), kInk[c], 3);
  }
}

TEST(JpegFormat, LeavesInkWithoutAnAdobeSegmentAsItIs) {
  JpegSpec spec;
  spec.coding = Coding::cmyk;
  spec.flat = {{0, 100, 200, 250}};
  Bytes file = encodeJpeg(spec);
  const Bytes name = bytesOf("Adobe");
  file.at(test_support::firstPlaceOf(name, file)) = 'X';
  const auto raster = jpeg().decode(file);
  ASSERT_TRUE(raster);
  EXPECT_NEAR(sampleAt(raster->components[1], 3, 3), 100, 2);
  EXPECT_NEAR(sampleAt(raster->components[3], 3, 3), 250, 2);
}

TEST(JpegFormat, KeepsEveryPlaneInOneBlockOfMemory) {
  JpegSpec spec;
  spec.horizontalFactor = spec.verticalFactor = 2;
  const auto raster = jpeg().decode(encodeJpeg(spec));
  ASSERT_TRUE(raster);
  ASSERT_TRUE(raster->owner);
  EXPECT_EQ(raster->owner.get(), raster->components[0].firstSample);
  for (const Component& component : raster->components) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(component.firstSample) % 64, 0U);
    EXPECT_EQ(component.strideBytes % 64, 0U);
  }
}

}  // namespace
}  // namespace quellor
