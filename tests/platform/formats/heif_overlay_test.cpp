// Overlays of pictures that are coded as red, green and blue, so that every sample of the result is known.

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/format_samples.h"
#include "tests/support/heif_judge.h"
#include "tests/support/heif_scene.h"
#include "tests/support/raster_fixture.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::HeifScene;
using test_support::makeRaster;
using test_support::RasterPlan;
using test_support::sampleAt;

constexpr std::uint32_t kSide = 16;

/// Green, blue and red in this order: what the identity matrix makes of the three components (ITU-T H.273, 8.3).
Raster rgbPicture(std::array<int, 3> rgb, int bits = 8) {
  RasterPlan plan;
  plan.model = SampleModel::ycbcr;
  plan.width = plan.height = kSide;
  plan.bits = bits;
  plan.coding = {1, 13, 0, true};
  return makeRaster(plan, [rgb](std::size_t component, std::uint32_t x, std::uint32_t) {
    return rgb[(component + 1) % 3] + static_cast<int>(x);
  });
}

Raster greyPicture(int bits, const test_support::SampleFunction& sample) {
  RasterPlan plan;
  plan.model = SampleModel::grey;
  plan.width = plan.height = kSide;
  plan.bits = bits;
  return makeRaster(plan, sample);
}

Outcome<Raster> decoded(const HeifScene& scene) { return test_support::imageFormat("HEIF").decode(scene.file()); }

std::array<int, 3> colorAt(const Raster& raster, std::uint32_t x, std::uint32_t y) {
  std::array<int, 3> color{};
  for (std::size_t i = 0; i < 3; ++i) color[i] = sampleAt(raster.components.at(i), raster.bitsPerComponent, x, y);
  return color;
}

using Color = std::array<int, 3>;

TEST(HeifOverlay, DrawsItsInputsOneOverTheOtherOnItsFillColor) {
  for (const bool wide : {false, true}) {
    HeifScene scene;
    const std::uint32_t first = scene.picture(rgbPicture({10, 60, 110}));
    const std::uint32_t second = scene.picture(rgbPicture({200, 100, 0}));
    scene.overlay({0xFFFF, 0x8080, 0}, 40, 30, {{first, -4, -5}, {second, 8, 6}, {first, 30, 25}, {second, 90, 0}},
                  wide);
    const auto raster = decoded(scene);
    ASSERT_TRUE(raster);
    EXPECT_EQ(raster->model, SampleModel::rgb);
    EXPECT_EQ(raster->width, 40U);
    EXPECT_EQ(raster->height, 30U);
    EXPECT_FALSE(raster->alpha);
    EXPECT_EQ(colorAt(*raster, 0, 0), (Color{14, 64, 114})) << "five rows and four columns are cut away";
    EXPECT_EQ(colorAt(*raster, 11, 5), (Color{25, 75, 125}));
    EXPECT_EQ(colorAt(*raster, 12, 5), (Color{255, 128, 0})) << "the fill colour";
    EXPECT_EQ(colorAt(*raster, 8, 6), (Color{200, 100, 0})) << "the second lies over the first";
    EXPECT_EQ(colorAt(*raster, 23, 21), (Color{215, 115, 15}));
    EXPECT_EQ(colorAt(*raster, 39, 29), (Color{19, 69, 119})) << "the rest lies beyond the canvas";
    EXPECT_EQ(colorAt(*raster, 39, 0), (Color{255, 128, 0})) << "nothing of the fourth lies on the canvas";
  }
}

TEST(HeifOverlay, HasTheDepthOfItsInputs) {
  HeifScene scene;
  const std::uint32_t input = scene.picture(rgbPicture({700, 500, 300}, 10));
  scene.overlay({0xFFFF, 0x8000, 0}, 20, 20, {{input, 0, 0}});
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->bitsPerComponent, 10);
  EXPECT_EQ(colorAt(*raster, 1, 1), (Color{701, 501, 301}));
  EXPECT_EQ(colorAt(*raster, 19, 19), (Color{1023, 512, 0}));
}

TEST(HeifOverlay, LetsWhatLiesBelowShineThroughByAlpha) {
  const auto opacity = [](std::size_t, std::uint32_t x, std::uint32_t) { return static_cast<int>(x) * 17; };
  for (const bool premultiplied : {false, true}) {
    HeifScene scene;
    const std::uint32_t input = scene.picture(rgbPicture({0, 100, 200}));
    const std::uint32_t alpha = scene.picture(greyPicture(8, opacity));
    scene.makeAlpha(alpha, input, premultiplied);
    scene.overlay({0x6464, 0x6464, 0x6464}, kSide, kSide, {{input, 0, 0}});
    const auto raster = decoded(scene);
    ASSERT_TRUE(raster);
    for (std::uint32_t x = 0; x < kSide; ++x) {
      const double share = x * 17 / 255.0;
      for (std::size_t i = 0; i < 3; ++i) {
        const double color = static_cast<double>(i) * 100 + x;
        const double expected = std::min(255.0, color * (premultiplied ? 1 : share) + 100 * (1 - share));
        EXPECT_NEAR(colorAt(*raster, x, 3)[i], expected, 0.5 + 1e-9) << x << (premultiplied ? " premultiplied" : "");
      }
    }
  }
}

TEST(HeifOverlay, OfAGreyPictureIsGrey) {
  HeifScene scene;
  const std::uint32_t input = scene.picture(
      greyPicture(8, [](std::size_t, std::uint32_t x, std::uint32_t y) { return static_cast<int>(x * 3 + y); }));
  scene.overlay({0, 0, 0xFFFF}, kSide, kSide, {{input, 0, 0}});
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  EXPECT_EQ(colorAt(*raster, 5, 2), (Color{17, 17, 17}));
}

TEST(HeifOverlay, WithoutInputsIsItsFillColor) {
  HeifScene scene;
  scene.overlay({0xFFFF, 0x8080, 0}, 20, 10, {});
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  EXPECT_EQ(colorAt(*raster, 19, 9), (Color{255, 128, 0}));
}

TEST(HeifOverlay, IsWhatAnotherReaderMakesOfIt) {
  const test_support::TemporaryDirectory directory;
  HeifScene scene;
  const std::uint32_t first = scene.picture(rgbPicture({10, 60, 110}));
  const std::uint32_t second = scene.picture(rgbPicture({200, 100, 0}));
  const std::uint32_t third = scene.picture(rgbPicture({77, 0, 66}));
  // No negative offsets: the other reader misplaces those of 16 bits, and reads past the rows with those of 32.
  scene.overlay({0xFFFF, 0x8080, 0}, 40, 30, {{first, 4, 5}, {second, 8, 6}, {third, 30, 25}});
  const Bytes file = scene.file();
  const auto path = directory.write("overlay.heic", {reinterpret_cast<const char*>(file.data()), file.size()});
  const auto judged = test_support::HeifJudge(path.string()).coded();
  const auto raster = decoded(scene);
  ASSERT_TRUE(judged && raster);
  for (std::uint32_t y = 0; y < 30; ++y) {
    for (std::uint32_t x = 0; x < 40; ++x) EXPECT_EQ(colorAt(*raster, x, y), colorAt(*judged, x, y)) << x << "," << y;
  }
}

TEST(HeifOverlay, OfDifferentDepthsIsNoImage) {
  HeifScene scene;
  const std::uint32_t first = scene.picture(rgbPicture({1, 2, 3}, 8));
  const std::uint32_t second = scene.picture(rgbPicture({1, 2, 3}, 10));
  scene.overlay({0, 0, 0}, 40, 30, {{first, 0, 0}, {second, 0, 0}});
  EXPECT_FALSE(decoded(scene));
}

TEST(HeifOverlay, OfDamagedDataIsNoImage) {
  const Bytes whole = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 20, 0, 20, 0, 1, 0, 1};
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    HeifScene scene;
    const std::uint32_t input = scene.picture(rgbPicture({1, 2, 3}));
    scene.derived("iovl", {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}, 20, 20, {input}, {});
    // An item of no length means the rest of the file.
    EXPECT_TRUE(size == 0 || decoded(scene).has_value() == (size == whole.size())) << size;
  }
}

// Sixteen levels of sixteen uses each would be 2^64 pictures.
TEST(HeifOverlay, OfOverlaysOfOverlaysIsRefusedBeforeItIsMade) {
  HeifScene scene;
  std::uint32_t item = scene.picture(rgbPicture({1, 2, 3}));
  for (int level = 0; level < 15; ++level) {
    item = scene.overlay({0, 0, 0}, kSide, kSide, std::vector<HeifScene::Placed>(16, {item, 0, 0}));
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(decoded(scene));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace quellor
