// Files that the encoder makes: what they say of themselves, and what other readers make of them.

#include "platform/formats/heic_encoder.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <new>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "platform/formats/hevc_configuration.h"
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

struct Case {
  std::uint32_t width;
  std::uint32_t height;
  int bits;
  bool grey;
  bool alpha;
};

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
    return static_cast<int>((40 + component * 30 + x + y) << (c.bits - 8));
  });
}

std::optional<Bytes> encoded(const Raster& raster, double quality = 0.9) {
  const auto file = encodeHeic(raster, quality);
  return file ? std::optional(test_support::written(*file)) : std::nullopt;
}

/// Of one component, as far as the picture reaches: the other reader may cut nothing away.
void expectSameSamples(const Raster& ours, const Raster& others, std::size_t component) {
  const Component& plane = ours.components[component];
  for (std::uint32_t y = 0; y < plane.height; ++y) {
    for (std::uint32_t x = 0; x < plane.width; ++x) {
      ASSERT_EQ(test_support::sampleAt(plane, ours.bitsPerComponent, x, y),
                test_support::sampleAt(others.components[component], ours.bitsPerComponent, x, y))
          << "component " << component << " at " << x << ", " << y;
    }
  }
}

class EncodedPicture : public testing::TestWithParam<Case> {};

TEST_P(EncodedPicture, SaysWhatItsParameterSetsSay) {
  const auto file = encoded(pictureOf(GetParam()));
  ASSERT_TRUE(file);
  const auto container = heif::readContainer(*file);
  ASSERT_TRUE(container);
  ASSERT_EQ(container->items.size(), GetParam().alpha ? 2U : 1U);
  for (const heif::Item& item : container->items) {
    const bool grey = GetParam().grey || item.id != container->primaryItem;
    const heif::Property* const property = heif::findProperty(*container, item, fourCC("hvcC"));
    ASSERT_NE(property, nullptr);
    const auto configuration = formats::readHevcConfiguration(property->payload);
    ASSERT_TRUE(configuration);
    const auto set = formats::sequenceParameterSetOf(*configuration);
    ASSERT_TRUE(set);
    EXPECT_EQ(set->chromaArrayType, grey ? 0U : 1U);
    EXPECT_EQ(configuration->chromaFormat, set->chromaArrayType);
    EXPECT_EQ(configuration->bitDepthLuma, GetParam().bits);
    EXPECT_EQ(static_cast<int>(set->bitDepthLuma), GetParam().bits);
    const auto coded = heif::spatialExtents(*container, item);
    ASSERT_TRUE(coded);
    EXPECT_EQ(coded->width, set->shownWidth);
    EXPECT_EQ(coded->height, set->shownHeight);
    const auto size = heif::storedSize(*container, item);
    EXPECT_EQ(size->width, GetParam().width);
    EXPECT_EQ(size->height, GetParam().height);
    // The profile's constraint flags, which stand behind the same emulation prevention in no case of ours.
    const ByteView record = property->payload;
    EXPECT_EQ(record.size() > 6 ? record[6] : 0, grey || GetParam().bits != 8 ? record[6] : 0x90) << "progressive";
  }
}

TEST_P(EncodedPicture, IsTheSameToOurReaderAndToAnother) {
  const auto file = encoded(pictureOf(GetParam()));
  ASSERT_TRUE(file);
  const auto raster = test_support::imageFormat("HEIF").decode(*file);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->width, GetParam().width);
  EXPECT_EQ(raster->height, GetParam().height);
  EXPECT_EQ(raster->alpha.has_value(), GetParam().alpha);
  if (GetParam().grey || (GetParam().alpha && GetParam().bits > 8)) return;  // the judge has no samples of those
  const test_support::TemporaryDirectory directory;
  const auto path = directory.write("encoded.heic", {reinterpret_cast<const char*>(file->data()), file->size()});
  const auto judged = test_support::HeifJudge(path.string()).coded();
  ASSERT_TRUE(judged);
  EXPECT_EQ(judged->coding, raster->coding);
  for (std::uint32_t y = 0; y < raster->height; ++y) {
    for (std::uint32_t x = 0; x < raster->width; ++x) {
      const int bits = GetParam().bits;
      ASSERT_EQ(test_support::sampleAt(raster->components[0], bits, x, y),
                test_support::sampleAt(judged->components[0], bits, x, y));
      ASSERT_EQ(test_support::sampleAt(raster->components[1], bits, x / 2, y / 2),
                test_support::sampleAt(judged->components[1], bits, x / 2, y / 2));
      if (!raster->alpha) continue;
      ASSERT_EQ(test_support::sampleAt(*raster->alpha, bits, x, y), test_support::sampleAt(*judged->alpha, bits, x, y));
    }
  }
}

TEST_P(EncodedPicture, IsCloseToItsInput) {
  const Raster input = pictureOf(GetParam());
  const auto file = encoded(input, 1.0);
  ASSERT_TRUE(file);
  const auto raster = test_support::imageFormat("HEIF").decode(*file);
  ASSERT_TRUE(raster) << raster.reason();
  const int bits = GetParam().bits, tolerance = 6 << (bits - 8);
  for (std::uint32_t y = 0; y < input.height; ++y) {
    for (std::uint32_t x = 0; x < input.width; ++x) {
      ASSERT_NEAR(test_support::sampleAt(raster->components[0], bits, x, y),
                  test_support::sampleAt(input.components[0], bits, x, y), tolerance);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, EncodedPicture,
                         testing::Values(Case{64, 64, 8, false, false}, Case{97, 65, 8, false, true},
                                         Case{1, 1, 8, false, false}, Case{29, 100, 8, true, false},
                                         Case{70, 31, 8, true, true}, Case{66, 70, 10, false, false},
                                         Case{33, 80, 10, false, true}, Case{64, 64, 10, true, false}));

/// Waves of other lengths in every component with a little noise, which end in level ground: where they end, the
/// encoder corrects its samples behind the transform, in the color as well.
Raster wavesOf(std::uint32_t width, std::uint32_t height, int seed) {
  RasterPlan plan;
  plan.model = SampleModel::ycbcr;
  plan.width = width;
  plan.height = height;
  plan.chromaColumns = plan.chromaRows = 2;
  plan.coding = {1, 13, 6, true};
  const auto noise = test_support::noise(4);
  return makeRaster(plan, [&](std::size_t component, std::uint32_t column, std::uint32_t row) {
    const std::uint32_t end = component == 0 ? 20 : 10, x = std::min(column, end - 1), y = std::min(row, 10 * end - 1);
    const double across = std::sin((x * (0.3 + 0.1 * static_cast<double>(component)) + seed) * 0.7);
    return static_cast<int>(128 + 60 * across * std::cos(y * 0.11 * seed)) + noise(component, x, y);
  });
}

TEST(HeicEncoder, NarrowPicturesDecodeToTheSameSamplesByOurDecoderAndAnother) {
  const test_support::TemporaryDirectory directory;
  for (const auto& [width, height] : {std::pair(31U, 200U), std::pair(64U, 31U), std::pair(12U, 12U)}) {
    for (int seed = 1; seed <= 8; ++seed) {
      for (const double quality : {0.5, 0.85, 0.88, 0.9, 0.91}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << seed << ", quality " << quality);
        const auto file = encoded(wavesOf(width, height, seed), quality);
        ASSERT_TRUE(file);
        const auto ours = test_support::imageFormat("HEIF").decode(*file);
        ASSERT_TRUE(ours) << ours.reason();
        const auto path = directory.write("narrow.heic", {reinterpret_cast<const char*>(file->data()), file->size()});
        const auto judged = test_support::HeifJudge(path.string()).coded();
        ASSERT_TRUE(judged);
        for (std::size_t i = 0; i < 3; ++i) expectSameSamples(*ours, *judged, i);
      }
    }
  }
}

TEST(HeicEncoder, RefusesRastersThatAreNotPlanarOrNotFourTwoZero) {
  RasterPlan plan;
  plan.width = plan.height = 64;
  plan.interleaved = true;
  EXPECT_FALSE(encoded(makeRaster(plan, test_support::noise(8)))) << "red, green and blue";
  plan.model = SampleModel::ycbcr;
  EXPECT_FALSE(encoded(makeRaster(plan, test_support::noise(8)))) << "interleaved";
}

TEST(HeicEncoder, SaysThatColorIsMultipliedByAlpha) {
  Raster raster = pictureOf({64, 64, 8, false, true});
  raster.premultiplied = true;
  const auto file = encoded(raster);
  ASSERT_TRUE(file);
  EXPECT_TRUE(test_support::imageFormat("HEIF").decode(*file)->premultiplied);
}

}  // namespace
}  // namespace quellor
