// Large pictures: how they are divided into tiles, and what a file of tiles is to its readers.

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/formats/heic_encoder.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/item_properties.h"
#include "tests/support/format_samples.h"
#include "tests/support/heif_judge.h"
#include "tests/support/heif_output.h"
#include "tests/support/raster_fixture.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using heif::fourCC;
using test_support::makeRaster;
using test_support::RasterPlan;
using test_support::sampleAt;

TEST(EncodingGrid, IsOneTileUpTo24Megapixels) {
  for (const auto& [width, height] : {std::pair(64U, 64U), std::pair(4032U, 3024U), std::pair(6000U, 4000U)}) {
    const EncodingGrid grid = encodingGridFor(width, height);
    EXPECT_EQ(grid.columns, 1U);
    EXPECT_EQ(grid.rows, 1U);
    EXPECT_EQ(grid.tileWidth, width);
    EXPECT_EQ(grid.tileHeight, height);
  }
}

TEST(EncodingGrid, IsOfTheFewestTilesThatAreNearlySquare) {
  const struct {
    std::uint32_t width, height, columns, rows, tileWidth, tileHeight;
  } cases[] = {
      {6000, 4002, 2, 1, 3008, 4032},
      {8064, 6048, 3, 1, 2688, 6080},
      {6048, 8064, 1, 3, 6080, 2688},
      {16320, 12240, 4, 3, 4096, 4096},
  };
  for (const auto& c : cases) {
    const EncodingGrid grid = encodingGridFor(c.width, c.height);
    EXPECT_EQ(grid.columns, c.columns) << c.width;
    EXPECT_EQ(grid.rows, c.rows) << c.width;
    EXPECT_EQ(grid.tileWidth, c.tileWidth) << c.width;
    EXPECT_EQ(grid.tileHeight, c.tileHeight) << c.width;
  }
}

TEST(EncodingGrid, CoversEveryPictureWithoutATileOutsideOfIt) {
  for (std::uint32_t width = 2; width <= 65534; width = width * 3 / 2 + 2) {
    for (std::uint32_t height = 24'000'002 / width / 2 * 2; height <= 65534; height = height * 4 / 3 + 2) {
      if (std::uint64_t{width} * height <= 24'000'000) continue;
      const EncodingGrid grid = encodingGridFor(width, height);
      SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
      EXPECT_EQ(grid.tileWidth % 64, 0U);
      EXPECT_EQ(grid.tileHeight % 64, 0U);
      EXPECT_LE(std::uint64_t{grid.tileWidth} * grid.tileHeight, std::uint64_t{1} << 24);
      EXPECT_GE(std::uint64_t{grid.tileWidth} * grid.columns, width);
      EXPECT_GE(std::uint64_t{grid.tileHeight} * grid.rows, height);
      EXPECT_LT(std::uint64_t{grid.tileWidth} * (grid.columns - 1), width);
      EXPECT_LT(std::uint64_t{grid.tileHeight} * (grid.rows - 1), height);
      EXPECT_LE(grid.columns, 256U);
      EXPECT_LE(grid.rows, 256U);
    }
  }
}

struct Case {
  std::uint32_t width, height;
  int bits;
  bool grey, alpha;
};

/// Tiles of 64 x 64, as many as it takes.
constexpr EncodingGrid kGrid{3, 2, 64, 64};

Raster pictureOf(const Case& c) {
  RasterPlan plan;
  plan.model = c.grey ? SampleModel::grey : SampleModel::ycbcr;
  plan.width = c.width;
  plan.height = c.height;
  plan.bits = c.bits;
  plan.alpha = c.alpha;
  plan.chromaColumns = plan.chromaRows = 2;
  plan.coding = {1, 13, 6, true};
  return makeRaster(plan, [&](std::size_t component, std::uint32_t x, std::uint32_t y) {
    return static_cast<int>((20 + component * 10 + x + y / 2) << (c.bits - 8));
  });
}

class EncodedGrid : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    const auto encoded = encodeHeic(pictureOf(GetParam()), 1.0, kGrid);
    ASSERT_TRUE(encoded);
    file_ = test_support::written(*encoded);
  }

  Bytes file_;
};

TEST_P(EncodedGrid, HasHiddenTilesOfOneSizeAndOneConfiguration) {
  const auto container = heif::readContainer(file_);
  ASSERT_TRUE(container) << container.reason();
  const heif::Item& primary = *container->find(container->primaryItem);
  EXPECT_EQ(primary.type, fourCC("grid"));
  const auto tiles = container->referencesFrom(primary.id, fourCC("dimg"));
  ASSERT_EQ(tiles.size(), 6U);
  std::set<const heif::Property*> configurations;
  for (const heif::ItemId id : tiles) {
    const heif::Item& tile = *container->find(id);
    EXPECT_TRUE(tile.hidden);
    EXPECT_EQ(tile.type, fourCC("hvc1"));
    const auto size = heif::spatialExtents(*container, tile);
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 64U);
    EXPECT_EQ(size->height, 64U);
    configurations.insert(heif::findProperty(*container, tile, fourCC("hvcC")));
  }
  EXPECT_EQ(configurations.size(), 1U) << "tiles are coded alike";
  EXPECT_EQ(container->items.size(), GetParam().alpha ? 14U : 7U);
}

TEST_P(EncodedGrid, IsCloseToItsInputAlsoBesideTheSeams) {
  const Raster input = pictureOf(GetParam());
  const auto raster = test_support::imageFormat("HEIF").decode(file_);
  ASSERT_TRUE(raster) << raster.reason();
  ASSERT_EQ(raster->width, input.width);
  ASSERT_EQ(raster->height, input.height);
  ASSERT_EQ(raster->alpha.has_value(), GetParam().alpha);
  const int bits = GetParam().bits, tolerance = 6 << (bits - 8);
  for (std::uint32_t y = 0; y < input.height; ++y) {
    for (std::uint32_t x = 0; x < input.width; ++x) {
      ASSERT_NEAR(sampleAt(raster->components[0], bits, x, y), sampleAt(input.components[0], bits, x, y), tolerance);
      if (!GetParam().alpha) continue;
      ASSERT_NEAR(sampleAt(*raster->alpha, bits, x, y), sampleAt(*input.alpha, bits, x, y), tolerance);
    }
  }
}

/// The judge cuts nothing away, so it may see more.
TEST_P(EncodedGrid, IsTheSameToAnotherReader) {
  if (GetParam().grey || (GetParam().alpha && GetParam().bits > 8)) return;  // the judge has no samples of those
  const auto raster = test_support::imageFormat("HEIF").decode(file_);
  ASSERT_TRUE(raster) << raster.reason();
  const test_support::TemporaryDirectory directory;
  const auto path = directory.write("grid.heic", {reinterpret_cast<const char*>(file_.data()), file_.size()});
  const auto judged = test_support::HeifJudge(path.string()).coded();
  ASSERT_TRUE(judged);
  const int bits = GetParam().bits;
  for (std::uint32_t y = 0; y < raster->height; ++y) {
    for (std::uint32_t x = 0; x < raster->width; ++x) {
      for (std::size_t i = 0; i < 3; ++i) {
        const std::uint32_t shift = i == 0 ? 0 : 1;
        ASSERT_EQ(sampleAt(raster->components[i], bits, x >> shift, y >> shift),
                  sampleAt(judged->components[i], bits, x >> shift, y >> shift));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, EncodedGrid,
                         testing::Values(Case{192, 128, 8, false, false}, Case{130, 66, 8, false, false},
                                         Case{149, 101, 8, false, false}, Case{150, 100, 8, false, true},
                                         Case{151, 99, 8, true, true}, Case{150, 100, 10, false, false}));

}  // namespace
}  // namespace quellor
