#include "platform/pixels/screen_content.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "tests/support/raster_fixture.h"

namespace quellor {
namespace {

using test_support::makeRaster;
using test_support::noise;
using test_support::RasterPlan;
using test_support::SampleFunction;

RasterPlan greyPlan(std::uint32_t width, std::uint32_t height, int bits = 8) {
  RasterPlan plan;
  plan.model = SampleModel::grey;
  plan.width = width;
  plan.height = height;
  plan.bits = bits;
  return plan;
}

/// Strokes one sample wide and nine apart on an even ground, as of letters.
int text(std::size_t, std::uint32_t x, std::uint32_t y) { return x % 9 == 0 && y % 16 < 11 ? 20 : 240; }

/// Soft shapes with strong contrast and a little noise, as of a lens.
int landscape(std::size_t, std::uint32_t x, std::uint32_t y) {
  static const SampleFunction grain = noise(8);
  const double shapes = 120 + 100 * std::sin(x / 7.0) * std::cos(y / 11.0);
  return std::clamp(static_cast<int>(shapes) + grain(0, x, y) % 5, 0, 255);
}

TEST(ScreenContent, IsTextOnAnEvenGround) { EXPECT_TRUE(looksLikeScreenContent(makeRaster(greyPlan(640, 400), text))); }

TEST(ScreenContent, IsNotAPictureOfSoftShapes) {
  EXPECT_FALSE(looksLikeScreenContent(makeRaster(greyPlan(640, 400), landscape)));
}

TEST(ScreenContent, IsNotNoise) { EXPECT_FALSE(looksLikeScreenContent(makeRaster(greyPlan(320, 320), noise(8)))); }

TEST(ScreenContent, IsNotAnEvenAreaWithoutContrast) {
  const auto even = [](std::size_t, std::uint32_t, std::uint32_t) { return 255; };
  EXPECT_FALSE(looksLikeScreenContent(makeRaster(greyPlan(320, 320), even)));
}

TEST(ScreenContent, NeedsEightBlocksWithContrast) {
  for (const std::uint32_t width : {1U, 15U, 16U, 7U * 16U}) {
    EXPECT_FALSE(looksLikeScreenContent(makeRaster(greyPlan(width, 16), text))) << width;
  }
  EXPECT_TRUE(looksLikeScreenContent(makeRaster(greyPlan(8 * 16, 16), text)));
}

TEST(ScreenContent, TurnsAtFourTenthsOfTheBlocksWithContrast) {
  for (const std::uint32_t tenths : {0U, 3U, 4U, 5U, 10U}) {
    const auto mixed = [&](std::size_t component, std::uint32_t x, std::uint32_t y) {
      return x / 16 < tenths ? text(component, x, y) : noise(8)(component, x, y);
    };
    EXPECT_EQ(looksLikeScreenContent(makeRaster(greyPlan(160, 160), mixed)), tenths >= 4) << tenths;
  }
}

TEST(ScreenContent, IsTheSameAtTenBits) {
  const auto deepText = [](std::size_t component, std::uint32_t x, std::uint32_t y) {
    return text(component, x, y) * 4;
  };
  EXPECT_TRUE(looksLikeScreenContent(makeRaster(greyPlan(640, 400, 10), deepText)));
  EXPECT_FALSE(looksLikeScreenContent(makeRaster(greyPlan(640, 400, 10), noise(10))));
}

TEST(ScreenContent, LooksAtTheLumaOfColorPictures) {
  RasterPlan plan = greyPlan(640, 400);
  plan.model = SampleModel::ycbcr;
  plan.chromaColumns = plan.chromaRows = 2;
  const auto colorful = [](std::size_t component, std::uint32_t x, std::uint32_t y) {
    return component == 0 ? text(component, x, y) : noise(8)(component, x, y);
  };
  EXPECT_TRUE(looksLikeScreenContent(makeRaster(plan, colorful)));
}

TEST(ScreenContent, IsFoundInPicturesLargerThanItsSample) {
  EXPECT_TRUE(looksLikeScreenContent(makeRaster(greyPlan(4000, 3000), text)));
  EXPECT_FALSE(looksLikeScreenContent(makeRaster(greyPlan(4000, 3000), landscape)));
}

}  // namespace
}  // namespace quellor
