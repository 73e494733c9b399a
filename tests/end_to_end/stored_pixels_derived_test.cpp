// Compares the exported pixels of overlays and identities with what the rules make of their inputs, whose samples are
// those that the HEIF library's decoders give.

#include <array>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/heif_judge.h"
#include "tests/support/pixel_differences.h"
#include "tests/support/reference_drawing.h"
#include "tests/support/stored_pixels.h"

namespace quellor {
namespace {

using test_support::Color;
using test_support::Differences;
using test_support::HeifJudge;
using test_support::StoredPixels;

struct Overlay {
  const char* name;
  std::int64_t x, y;  // of the second input, item 2; item 1 is at 10, 20
  Color fill;
  friend void PrintTo(const Overlay& overlay, std::ostream* out) { *out << overlay.name; }
};

/// Whether a pixel of the canvas lies on an input at that place, and its color then.
bool isOn(const Raster& input, std::int64_t left, std::int64_t top, std::int64_t x, std::int64_t y, Color& color) {
  if (x < left || y < top || x >= left + input.width || y >= top + input.height) return false;
  color =
      test_support::referenceColor(input, static_cast<std::uint32_t>(x - left), static_cast<std::uint32_t>(y - top));
  return true;
}

class StoredPixelsOfAnOverlay : public testing::TestWithParam<Overlay> {};

TEST_P(StoredPixelsOfAnOverlay, AreThoseOfItsInputsOneOverTheOtherOnItsFillColor) {
  const auto path = test_support::sampleFile(std::string("made/overlay-") + GetParam().name + ".heic");
  const StoredPixels stored = test_support::exportPixels(path);
  ASSERT_TRUE(stored.written()) << stored.answer;
  const auto first = HeifJudge(path.string(), 1).coded(), second = HeifJudge(path.string(), 2).coded();
  ASSERT_TRUE(first && second);
  Differences differences;
  for (std::uint32_t y = 0; y < stored.height(); ++y) {
    for (std::uint32_t x = 0; x < stored.width(); ++x) {
      Color expected = GetParam().fill;
      isOn(*first, 10, 20, x, y, expected);
      isOn(*second, GetParam().x, GetParam().y, x, y, expected);
      const std::size_t at = (std::size_t{y} * stored.width() + x) * 4;
      for (std::size_t i = 0; i < 3; ++i) differences.add(stored.pixels()[at + i], expected[i] * 255);
    }
  }
  differences.record("overlay");
  EXPECT_LE(differences.largest(), 1.0);
}

// As tests/samples was told to make them.
INSTANTIATE_TEST_SUITE_P(Made, StoredPixelsOfAnOverlay,
                         testing::Values(Overlay{"inside", 40, 30, {0, 0, 0}},
                                         Overlay{"across-edges", -20, -10, {1, 32768 / 65535.0, 0}},
                                         Overlay{"beyond-right", 150, 90, {0, 1, 1}},
                                         Overlay{"wide-fields", 64, -31, {1, 1, 1}}),
                         [](const auto& tested) { return test_support::testName(tested.param.name); });

// Item 1003 is the middle 300 x 300 of item 1002 (1280 x 720), a quarter turned anticlockwise; the primary item is the
// middle 150 x 150 of that, and its own turning is not applied. The outermost samples are interpolated from colour
// differences that the part has lost.
TEST(StoredPixelsOfAnIdentity, AreThoseOfItsOriginalTransformed) {
  if (!test_support::hasSampleFolder()) GTEST_SKIP() << "no sample folder: only made files are read";
  const auto path = test_support::sampleFile("conformance/C039.heic");
  const StoredPixels stored = test_support::exportPixels(path);
  ASSERT_TRUE(stored.written()) << stored.answer;
  ASSERT_EQ(stored.width(), 150U);
  ASSERT_EQ(stored.height(), 150U);
  const auto original = HeifJudge(path.string(), 1002).coded();
  ASSERT_TRUE(original);
  Differences differences;
  for (std::uint32_t y = 1; y < 149; ++y) {
    for (std::uint32_t x = 1; x < 149; ++x) {
      const Color expected = test_support::referenceColor(*original, 490 + 299 - (75 + y), 210 + 75 + x);
      for (std::size_t i = 0; i < 3; ++i) {
        differences.add(stored.pixels()[(std::size_t{y} * 150 + x) * 4 + i], expected[i] * 255);
      }
    }
  }
  differences.record("identity");
  EXPECT_LE(differences.largest(), 1.0);
}

}  // namespace
}  // namespace quellor
