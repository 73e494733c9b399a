#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/values/image_facts.h"
#include "tests/support/format_samples.h"
#include "tests/support/png_fixture.h"

namespace quellor {
namespace {

using test_support::encodePng;
using test_support::PngSpec;

const ImageFormat& png() {
  static const ImageFormat& format = test_support::imageFormat("PNG");
  return format;
}

std::uint32_t sampleAt(const Raster& raster, const Component& component, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* const place = component.firstSample + y * component.strideBytes + x * component.stepBytes;
  if (raster.bitsPerComponent == 8) return *place;
  std::uint16_t value = 0;
  std::memcpy(&value, place, sizeof value);
  return value;
}

/// Values of every bit of the depth.
std::uint32_t patternAt(std::uint32_t x, std::uint32_t y, std::uint32_t component, int depth) {
  return (x * 40503U + y * 10007U + component * 257U) & ((1U << depth) - 1);
}

PngSpec patterned(int colorType, int depth) {
  PngSpec spec;
  spec.colorType = colorType;
  spec.bitDepth = depth;
  spec.sample = [depth](auto x, auto y, auto c) { return patternAt(x, y, c, depth); };
  if (colorType == 3) {
    for (std::uint32_t i = 0; i < 1U << depth; ++i) {
      spec.palette.push_back(
          {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(255 - i), static_cast<std::uint8_t>(i * 3)});
    }
  }
  return spec;
}

struct FormatCase {
  int colorType;
  int depth;
};

class PngColorTypes : public testing::TestWithParam<std::tuple<FormatCase, bool, std::pair<int, int>>> {};

TEST_P(PngColorTypes, GivesEverySampleExactly) {
  const auto& [format, interlaced, size] = GetParam();
  PngSpec spec = patterned(format.colorType, format.depth);
  spec.interlaced = interlaced;
  spec.width = static_cast<std::uint32_t>(size.first);
  spec.height = static_cast<std::uint32_t>(size.second);
  const Bytes file = encodePng(spec);
  const auto facts = png().describe(file);
  const auto raster = png().decode(file);
  ASSERT_TRUE(facts);
  ASSERT_TRUE(raster);

  const bool grey = format.colorType == 0 || format.colorType == 4;
  const bool alpha = format.colorType == 4 || format.colorType == 6;
  const int bits = format.depth == 16 ? 16 : 8;
  EXPECT_EQ(facts->imageCount, 1U);
  EXPECT_EQ(facts->width, spec.width);
  EXPECT_EQ(facts->height, spec.height);
  EXPECT_EQ(facts->bitsPerComponent, bits);
  EXPECT_EQ(facts->colorModel, grey ? ColorModel::grey : ColorModel::rgb);
  EXPECT_EQ(facts->hasAlpha, alpha);
  ASSERT_EQ(raster->width, spec.width);
  ASSERT_EQ(raster->height, spec.height);
  ASSERT_EQ(raster->bitsPerComponent, bits);
  ASSERT_EQ(raster->model, grey ? SampleModel::grey : SampleModel::rgb);
  ASSERT_EQ(raster->components.size(), grey ? 1U : 3U);
  ASSERT_EQ(raster->alpha.has_value(), alpha);
  EXPECT_FALSE(raster->premultiplied);
  EXPECT_TRUE(raster->coding.fullRange);

  std::vector<Component> components = raster->components;
  if (alpha) components.push_back(*raster->alpha);
  for (std::uint32_t y = 0; y < spec.height; ++y) {
    for (std::uint32_t x = 0; x < spec.width; ++x) {
      for (std::uint32_t c = 0; c < components.size(); ++c) {
        std::uint32_t expected = patternAt(x, y, c, format.depth);
        if (format.colorType == 3) {
          expected = spec.palette[patternAt(x, y, 0, format.depth)][c];
        } else if (format.depth < 8) {
          expected = expected * 255 / ((1U << format.depth) - 1);  // PNG, third edition, 12.4
        }
        ASSERT_EQ(sampleAt(*raster, components[c], x, y), expected) << c << " at " << x << "," << y;
      }
    }
  }
}

constexpr FormatCase kFormats[] = {{0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
                                   {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};

std::string formatName(const testing::TestParamInfo<PngColorTypes::ParamType>& test) {
  const auto& [format, interlaced, size] = test.param;
  return "type" + std::to_string(format.colorType) + "_" + std::to_string(format.depth) + "bit_" +
         std::to_string(size.first) + "x" + std::to_string(size.second) + (interlaced ? "_interlaced" : "");
}

INSTANTIATE_TEST_SUITE_P(All, PngColorTypes,
                         testing::Combine(testing::ValuesIn(kFormats), testing::Bool(),
                                          testing::Values(std::pair(1, 1), std::pair(3, 5), std::pair(17, 9),
                                                          std::pair(300, 40))),
                         formatName);

TEST(PngFormat, MakesAlphaOfATransparentPalette) {
  for (const bool interlaced : {false, true}) {
    PngSpec spec = patterned(3, 2);
    spec.interlaced = interlaced;
    spec.paletteAlpha = {0, 100};  // the rest is opaque
    const Bytes file = encodePng(spec);
    EXPECT_TRUE(png().describe(file).value().hasAlpha);
    const auto raster = png().decode(file);
    ASSERT_TRUE(raster);
    ASSERT_TRUE(raster->alpha);
    constexpr std::uint32_t kAlphas[] = {0, 100, 255, 255};
    for (std::uint32_t y = 0; y < spec.height; ++y) {
      for (std::uint32_t x = 0; x < spec.width; ++x) {
        const std::uint32_t index = patternAt(x, y, 0, 2);
        ASSERT_EQ(sampleAt(*raster, *raster->alpha, x, y), kAlphas[index]);
        ASSERT_EQ(sampleAt(*raster, raster->components[1], x, y), spec.palette[index][1]);
      }
    }
  }
}

TEST(PngFormat, MakesAlphaOfATransparentColor) {
  for (const FormatCase format :
       {FormatCase{0, 2}, FormatCase{0, 8}, FormatCase{0, 16}, FormatCase{2, 8}, FormatCase{2, 16}}) {
    PngSpec spec = patterned(format.colorType, format.depth);
    std::array<std::uint16_t, 3> transparent{};
    for (std::uint32_t c = 0; c < 3; ++c) transparent[c] = static_cast<std::uint16_t>(patternAt(4, 3, c, format.depth));
    spec.transparentColor = transparent;
    const Bytes file = encodePng(spec);
    EXPECT_TRUE(png().describe(file).value().hasAlpha);
    const auto raster = png().decode(file);
    ASSERT_TRUE(raster);
    ASSERT_TRUE(raster->alpha);
    const std::uint32_t opaque = format.depth == 16 ? 65535 : 255;
    for (std::uint32_t y = 0; y < spec.height; ++y) {
      for (std::uint32_t x = 0; x < spec.width; ++x) {
        const bool same = patternAt(x, y, 0, format.depth) == transparent[0];
        ASSERT_EQ(sampleAt(*raster, *raster->alpha, x, y), same ? 0 : opaque) << format.depth;
      }
    }
  }
}

TEST(PngFormat, RefusesAnIndexBeyondThePalette) {
  PngSpec spec = patterned(3, 8);
  spec.palette.resize(3);
  spec.sample = [](auto x, auto y, auto) { return x == 5 && y == 5 ? 3U : 2U; };
  EXPECT_FALSE(png().decode(encodePng(spec)));
  spec.sample = [](auto, auto, auto) { return 2U; };
  EXPECT_TRUE(png().decode(encodePng(spec)));
}

}  // namespace
}  // namespace quellor
