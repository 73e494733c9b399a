// Identities of transformed pictures, and alpha.

#include <array>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "platform/pixels/rgbx_drawing.h"
#include "tests/support/format_samples.h"
#include "tests/support/heif_scene.h"
#include "tests/support/raster_fixture.h"

namespace quellor {
namespace {

using test_support::clap;
using test_support::HeifScene;
using test_support::imir;
using test_support::irot;
using test_support::makeRaster;
using test_support::RasterPlan;
using test_support::sampleAt;

constexpr std::uint32_t kWidth = 48, kHeight = 32;

RasterPlan plan(std::uint32_t chromaColumns = 2, std::uint32_t chromaRows = 2, int bits = 8) {
  RasterPlan made;
  made.model = SampleModel::ycbcr;
  made.width = kWidth;
  made.height = kHeight;
  made.bits = bits;
  made.chromaColumns = chromaColumns;
  made.chromaRows = chromaRows;
  made.coding = {1, 13, 6, true};
  return made;
}

Raster smoothPicture(const RasterPlan& made) {
  return makeRaster(made, [](std::size_t component, std::uint32_t x, std::uint32_t y) {
    return static_cast<int>(60 + component * 20 + (x * x) / 16 + y * 2);
  });
}

Raster alphaPicture(std::uint32_t width, std::uint32_t height, int bits = 8) {
  RasterPlan made;
  made.model = SampleModel::grey;
  made.width = width;
  made.height = height;
  made.bits = bits;
  return makeRaster(made, [](std::size_t, std::uint32_t x, std::uint32_t y) { return static_cast<int>(x * 4 + y); });
}

Outcome<Raster> decoded(const HeifScene& scene) { return test_support::imageFormat("HEIF").decode(scene.file()); }

Bytes drawn(const Raster& raster) {
  Bytes pixels(std::size_t{raster.width} * raster.height * 4);
  EXPECT_TRUE(pixels::drawRgbx(raster, pixels));
  return pixels;
}

/// Where the sample of a transformed picture at (x, y) stood before.
struct Transformation {
  std::vector<Bytes> properties;
  std::uint32_t width;
  std::uint32_t height;
  std::array<std::uint32_t, 2> (*source)(std::uint32_t x, std::uint32_t y);
};

using Place = std::array<std::uint32_t, 2>;

/// irot turns anticlockwise by quarters, imir exchanges top and bottom for 0, left and right for 1 (ISO/IEC 23008-12,
/// 6.5.10 and 6.5.12); both take effect in their order.
std::vector<Transformation> transformations() {
  constexpr std::uint32_t w = kWidth, h = kHeight;
  return {{{irot(0)},
           w,
           h,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{x, y};
           }},
          {{irot(1)},
           h,
           w,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{w - 1 - y, x};
           }},
          {{irot(2)},
           w,
           h,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{w - 1 - x, h - 1 - y};
           }},
          {{irot(3)},
           h,
           w,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{y, h - 1 - x};
           }},
          {{imir(0)},
           w,
           h,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{x, h - 1 - y};
           }},
          {{imir(1)},
           w,
           h,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{w - 1 - x, y};
           }},
          {{irot(1), imir(1)},
           h,
           w,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{w - 1 - y, h - 1 - x};
           }},
          {{clap(5, 3, 21, 17, {w, h})},
           21,
           17,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{x + 5, y + 3};
           }},
          {{clap(5, 3, 21, 17, {w, h}), imir(1)},
           21,
           17,
           [](std::uint32_t x, std::uint32_t y) {
             return Place{5 + 20 - x, y + 3};
           }},
          {{clap(4, 2, 20, 17, {w, h}), irot(2)}, 20, 17, [](std::uint32_t x, std::uint32_t y) {
             return Place{4 + 19 - x, 2 + 16 - y};
           }}};
}

TEST(HeifIdentity, HasTheSamplesOfItsInputTransformed) {
  for (const Transformation& each : transformations()) {
    SCOPED_TRACE(testing::PrintToString(each.properties));
    HeifScene scene;
    const std::uint32_t input = scene.picture(smoothPicture(plan(1, 1, 10)), each.properties);
    scene.identity(input);
    const auto raster = decoded(scene);
    ASSERT_TRUE(raster);
    ASSERT_EQ(raster->width, each.width);
    ASSERT_EQ(raster->height, each.height);
    const Raster original = smoothPicture(plan(1, 1, 10));
    int different = 0;
    for (std::uint32_t y = 0; y < each.height; ++y) {
      for (std::uint32_t x = 0; x < each.width; ++x) {
        const auto [fromX, fromY] = each.source(x, y);
        for (std::size_t i = 0; i < 3; ++i) {
          if (sampleAt(raster->components[i], 10, x, y) != sampleAt(original.components[i], 10, fromX, fromY)) {
            ++different;
          }
        }
      }
    }
    EXPECT_EQ(different, 0);
  }
}

// Where the colour differences of the transformed picture lie is seen in what is interpolated from them. The outermost
// samples do not count: there, a part has lost colour differences that the whole picture has.
TEST(HeifIdentity, KeepsColorDifferencesInTheirPlaces) {
  HeifScene whole;
  whole.picture(smoothPicture(plan()));
  const auto original = decoded(whole);
  ASSERT_TRUE(original);
  const Bytes originalPixels = drawn(*original);
  for (const Transformation& each : transformations()) {
    SCOPED_TRACE(testing::PrintToString(each.properties));
    HeifScene scene;
    scene.identity(scene.picture(smoothPicture(plan()), each.properties));
    const auto raster = decoded(scene);
    ASSERT_TRUE(raster);
    const Bytes pixels = drawn(*raster);
    int largest = 0;
    for (std::uint32_t y = 2; y + 2 < each.height; ++y) {
      for (std::uint32_t x = 2; x + 2 < each.width; ++x) {
        const auto [fromX, fromY] = each.source(x, y);
        for (std::size_t i = 0; i < 3; ++i) {
          const int here = pixels[(std::size_t{y} * each.width + x) * 4 + i];
          const int there = originalPixels[(std::size_t{fromY} * kWidth + fromX) * 4 + i];
          largest = std::max(largest, std::abs(here - there));
        }
      }
    }
    EXPECT_LE(largest, 1);
  }
}

TEST(HeifIdentity, OfAnIdentityTransformsTwice) {
  HeifScene scene;
  const std::uint32_t picture = scene.picture(smoothPicture(plan(1, 1)), {clap(8, 8, 32, 20, {kWidth, kHeight})});
  const std::uint32_t turned = scene.identity(picture, {irot(1)});
  scene.identity(turned, {clap(2, 4, 10, 20, {20, 32}), irot(1)});
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->width, 10U) << "the primary image's own turn is told, not applied";
  EXPECT_EQ(raster->height, 20U);
  const Raster original = smoothPicture(plan(1, 1));
  // (0, 0) is (2, 4) of the turned picture, which is (31 - 4, 2) of the part, which begins at (8, 8).
  EXPECT_EQ(sampleAt(raster->components[0], 8, 0, 0), sampleAt(original.components[0], 8, 8 + 31 - 4, 8 + 2));
}

TEST(HeifIdentity, OfNothingOrOfTwoImagesIsNone) {
  HeifScene none;
  none.add("iden", {}, {test_support::ispe(16, 16)});
  EXPECT_FALSE(decoded(none));
  HeifScene two;
  const std::uint32_t picture = two.picture(smoothPicture(plan()));
  const std::uint32_t both = two.identity(picture);
  two.refer("dimg", both, {picture});
  EXPECT_FALSE(decoded(two));
  HeifScene circle;
  const std::uint32_t first = circle.add("iden", {}, {});
  const std::uint32_t second = circle.identity(first);
  circle.refer("dimg", first, {second});
  EXPECT_FALSE(decoded(circle));
}

TEST(HeifIdentity, OfMoreIdentitiesThanAnybodyNeedsIsNone) {
  for (const auto& [levels, decodes] : {std::pair(8, true), std::pair(40, false)}) {
    HeifScene scene;
    std::uint32_t item = scene.picture(smoothPicture(plan()));
    for (int level = 0; level < levels; ++level) item = scene.identity(item);
    EXPECT_EQ(decoded(scene).has_value(), decodes) << levels;
  }
}

TEST(HeifAlpha, IsThePlaneOfItsImage) {
  for (const bool premultiplied : {false, true}) {
    HeifScene scene;
    const std::uint32_t picture = scene.picture(smoothPicture(plan()));
    scene.makeAlpha(scene.picture(alphaPicture(kWidth, kHeight)), picture, premultiplied);
    const auto raster = decoded(scene);
    ASSERT_TRUE(raster && raster->alpha);
    EXPECT_EQ(raster->premultiplied, premultiplied);
    EXPECT_EQ(sampleAt(*raster->alpha, 8, 30, 7), 127);
    EXPECT_EQ(raster->components[1].width, kWidth / 2) << "colour stays as it is coded";
  }
}

TEST(HeifAlpha, OfLessDepthIsStretchedToThatOfColor) {
  HeifScene scene;
  const std::uint32_t picture = scene.picture(smoothPicture(plan(2, 2, 10)));
  scene.makeAlpha(scene.picture(alphaPicture(kWidth, kHeight)), picture);
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster && raster->alpha);
  EXPECT_EQ(raster->bitsPerComponent, 10);
  EXPECT_EQ(sampleAt(*raster->alpha, 10, 30, 7), (127 * 1023 + 127) / 255);
}

TEST(HeifAlpha, OfAnInputIsTransformedWithIt) {
  for (const bool repeated : {false, true}) {
    const std::vector<Bytes> turn = {irot(1)};
    HeifScene scene;
    const std::uint32_t picture = scene.picture(smoothPicture(plan()), turn);
    const std::uint32_t alpha = scene.picture(alphaPicture(kWidth, kHeight), repeated ? turn : std::vector<Bytes>());
    scene.makeAlpha(alpha, picture);
    scene.identity(picture);
    const auto raster = decoded(scene);
    ASSERT_TRUE(raster && raster->alpha) << repeated;
    EXPECT_EQ(raster->width, kHeight);
    EXPECT_EQ(sampleAt(*raster->alpha, 8, 3, 2), (kWidth - 1 - 2) * 4 + 3);
  }
}

TEST(HeifAlpha, MayHaveTheSizeThatTheApertureLeaves) {
  HeifScene scene;
  const std::uint32_t picture = scene.picture(smoothPicture(plan()), {clap(6, 4, 32, 16, {kWidth, kHeight})});
  scene.makeAlpha(scene.picture(alphaPicture(32, 16)), picture);
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster && raster->alpha);
  EXPECT_EQ(raster->width, 32U);
  EXPECT_EQ(sampleAt(*raster->alpha, 8, 0, 0), 0);
}

TEST(HeifAlpha, OfAnotherSizeLeavesNoImage) {
  HeifScene scene;
  const std::uint32_t picture = scene.picture(smoothPicture(plan()));
  scene.makeAlpha(scene.picture(alphaPicture(kWidth / 2, kHeight / 2)), picture);
  EXPECT_FALSE(decoded(scene));
}

}  // namespace
}  // namespace quellor
