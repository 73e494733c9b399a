// Grids of pictures whose samples are known: what stands where.

#include <functional>
#include <optional>
#include <string>
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

constexpr std::uint32_t kTile = 32;

RasterPlan planOf(unsigned chromaFormat, int bits) {
  RasterPlan plan;
  plan.model = chromaFormat == 0 ? SampleModel::grey : SampleModel::ycbcr;
  plan.width = plan.height = kTile;
  plan.bits = bits;
  plan.chromaColumns = chromaFormat == 1 || chromaFormat == 2 ? 2 : 1;
  plan.chromaRows = chromaFormat == 1 ? 2 : 1;
  plan.coding = {1, 13, 6, true};
  return plan;
}

/// A pattern that is another one in every picture and component.
int patternAt(std::size_t picture, std::size_t component, std::uint32_t x, std::uint32_t y, int bits) {
  return static_cast<int>((picture * 41 + component * 23 + x * 5 + y * 3) % (1U << bits));
}

Raster pictureOf(const RasterPlan& plan, std::size_t number) {
  return makeRaster(plan, [&](std::size_t component, std::uint32_t x, std::uint32_t y) {
    return patternAt(number, component, x, y, plan.bits);
  });
}

Outcome<Raster> decoded(const HeifScene& scene) { return test_support::imageFormat("HEIF").decode(scene.file()); }

/// Four tiles of one form, two rows and columns.
std::vector<std::uint32_t> fourTiles(HeifScene& scene, const RasterPlan& plan) {
  std::vector<std::uint32_t> tiles;
  for (std::size_t i = 0; i < 4; ++i) tiles.push_back(scene.picture(pictureOf(plan, i)));
  return tiles;
}

void expectTiles(const Raster& raster, const RasterPlan& plan) {
  for (std::size_t i = 0; i < raster.components.size(); ++i) {
    const Component& component = raster.components[i];
    const std::uint32_t across = kTile / (i == 0 ? 1 : plan.chromaColumns),
                        down = kTile / (i == 0 ? 1 : plan.chromaRows);
    int different = 0;
    for (std::uint32_t y = 0; y < component.height; ++y) {
      for (std::uint32_t x = 0; x < component.width; ++x) {
        const int expected = patternAt(y / down * 2 + x / across, i, x % across, y % down, plan.bits);
        if (sampleAt(component, plan.bits, x, y) != expected) ++different;
      }
    }
    EXPECT_EQ(different, 0) << "component " << i;
  }
}

TEST(HeifGrid, HasItsTilesInTheirPlacesWithoutWhatLiesBeyondTheEdge) {
  for (const unsigned chromaFormat : {0U, 1U, 2U, 3U}) {
    for (const int bits : {8, 10, 12}) {
      for (const auto& [width, height] : {std::pair(64U, 64U), std::pair(51U, 41U), std::pair(33U, 64U)}) {
        SCOPED_TRACE(testing::Message() << "4:" << chromaFormat << " " << bits << " bits " << width << "x" << height);
        const RasterPlan plan = planOf(chromaFormat, bits);
        HeifScene scene;
        scene.grid(2, 2, width, height, fourTiles(scene, plan));
        const auto raster = decoded(scene);
        ASSERT_TRUE(raster);
        EXPECT_EQ(raster->width, width);
        EXPECT_EQ(raster->height, height);
        EXPECT_EQ(raster->bitsPerComponent, bits);
        EXPECT_EQ(raster->model, plan.model);
        EXPECT_EQ(raster->coding, plan.coding);
        if (chromaFormat != 0) {
          EXPECT_EQ(raster->components.at(1).width, (width + plan.chromaColumns - 1) / plan.chromaColumns);
          EXPECT_EQ(raster->components.at(1).height, (height + plan.chromaRows - 1) / plan.chromaRows);
        }
        expectTiles(*raster, plan);
      }
    }
  }
}

TEST(HeifGrid, IsWhatAnotherReaderMakesOfIt) {
  const test_support::TemporaryDirectory directory;
  for (const int bits : {8, 10}) {
    HeifScene scene;
    scene.grid(2, 2, 50, 40, fourTiles(scene, planOf(1, bits)));
    const Bytes file = scene.file();
    const auto path = directory.write("grid.heic", {reinterpret_cast<const char*>(file.data()), file.size()});
    const auto judged = test_support::HeifJudge(path.string()).coded();
    const auto raster = decoded(scene);
    ASSERT_TRUE(judged && raster);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(test_support::samplesOf(raster->components[i], bits),
                test_support::samplesOf(judged->components.at(i), bits));
    }
  }
}

TEST(HeifGrid, OfTurnedTilesHasThemTurned) {
  const RasterPlan plan = planOf(1, 8);
  HeifScene scene;
  std::vector<std::uint32_t> tiles;
  for (std::size_t i = 0; i < 2; ++i) tiles.push_back(scene.picture(pictureOf(plan, i), {test_support::irot(1)}));
  scene.grid(1, 2, 2 * kTile, kTile, tiles);
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  // Turned anticlockwise, the top right corner comes to stand at the top left.
  EXPECT_EQ(sampleAt(raster->components[0], 8, 0, 0), patternAt(0, 0, kTile - 1, 0, 8));
  EXPECT_EQ(sampleAt(raster->components[0], 8, kTile + 3, 5), patternAt(1, 0, kTile - 1 - 5, 3, 8));
  EXPECT_EQ(sampleAt(raster->components[1], 8, 1, 2), patternAt(0, 1, kTile / 2 - 1 - 2, 1, 8));
}

TEST(HeifGrid, OfAGridHasTheTilesOfThatGrid) {
  const RasterPlan plan = planOf(1, 8);
  HeifScene scene;
  const std::uint32_t inner = scene.grid(2, 2, 64, 64, fourTiles(scene, plan));
  scene.grid(1, 1, 60, 50, {inner});
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->width, 60U);
  expectTiles(*raster, plan);
}

TEST(HeifGrid, IsOpaqueWhereItsTilesHaveNoAlpha) {
  const RasterPlan plan = planOf(1, 8);
  HeifScene scene;
  const auto tiles = fourTiles(scene, plan);
  const std::uint32_t alpha = scene.picture(pictureOf(planOf(0, 8), 9));
  scene.makeAlpha(alpha, tiles[2]);
  scene.grid(2, 2, 64, 64, tiles);
  const auto raster = decoded(scene);
  ASSERT_TRUE(raster && raster->alpha);
  EXPECT_EQ(sampleAt(*raster->alpha, 8, 0, 0), 255);
  EXPECT_EQ(sampleAt(*raster->alpha, 8, 40, 40), 255);
  EXPECT_EQ(sampleAt(*raster->alpha, 8, 7, 40), patternAt(9, 0, 7, 8, 8));
}

struct UnfitCase {
  std::string what;
  std::function<void(HeifScene&)> build;
};

void gridWithLastTile(HeifScene& scene, const RasterPlan& last) {
  const RasterPlan plan = planOf(1, 8);
  std::vector<std::uint32_t> tiles;
  for (std::size_t i = 0; i < 3; ++i) tiles.push_back(scene.picture(pictureOf(plan, i)));
  tiles.push_back(scene.picture(pictureOf(last, 3)));
  scene.grid(2, 2, 64, 64, tiles);
}

std::vector<UnfitCase> unfitGrids() {
  RasterPlan larger = planOf(1, 8), limited = planOf(1, 8), otherMatrix = planOf(1, 8);
  larger.width = 48;
  limited.coding.fullRange = false;
  otherMatrix.coding.matrixCoefficients = 1;
  const auto lastTile = [](const RasterPlan& plan) {
    return [plan](HeifScene& scene) { gridWithLastTile(scene, plan); };
  };
  const auto sized = [](unsigned rows, unsigned columns, std::uint32_t width, std::uint32_t height) {
    return [=](HeifScene& scene) { scene.grid(rows, columns, width, height, fourTiles(scene, planOf(1, 8))); };
  };
  return {{"a tile of another size", lastTile(larger)},
          {"a tile of another chroma format", lastTile(planOf(3, 8))},
          {"a grey tile", lastTile(planOf(0, 8))},
          {"a tile of another depth", lastTile(planOf(1, 10))},
          {"a tile of another range", lastTile(limited)},
          {"a tile of another matrix", lastTile(otherMatrix)},
          {"tiles that do not reach the right edge", sized(2, 2, 65, 64)},
          {"tiles that do not reach the bottom", sized(2, 2, 64, 65)},
          {"too few tiles", sized(2, 3, 64, 64)},
          {"too many tiles", sized(1, 2, 64, 32)},
          {"a declared size that is not the grid's",
           [](HeifScene& scene) {
             const auto tiles = fourTiles(scene, planOf(1, 8));
             scene.derived("grid", {0, 0, 1, 1, 0, 64, 0, 64}, 64, 60, tiles, {});
           }},
          {"data that are cut short",
           [](HeifScene& scene) {
             const auto tiles = fourTiles(scene, planOf(1, 8));
             scene.derived("grid", {0, 0, 1, 1, 0, 64, 0}, 64, 64, tiles, {});
           }},
          {"a version that nobody knows", [](HeifScene& scene) {
             const auto tiles = fourTiles(scene, planOf(1, 8));
             scene.derived("grid", {1, 0, 1, 1, 0, 64, 0, 64}, 64, 64, tiles, {});
           }}};
}

TEST(HeifGrid, OfWhatDoesNotFitTogetherIsNoImage) {
  HeifScene sound;
  gridWithLastTile(sound, planOf(1, 8));
  ASSERT_TRUE(decoded(sound));
  for (const UnfitCase& unfit : unfitGrids()) {
    HeifScene scene;
    unfit.build(scene);
    EXPECT_FALSE(decoded(scene)) << unfit.what;
  }
}

}  // namespace
}  // namespace quellor
