// A look at a JPEG file says what its decoding says, whatever the coding and wherever the file is damaged.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/format_samples.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/look_comparison.h"

namespace quellor {
namespace {

using test_support::Comparisons;
using test_support::encodeJpeg;
using test_support::JpegSpec;
using Coding = JpegSpec::Coding;

/// Color model and sampling, before the kinds of coding.
std::vector<JpegSpec> colorings() {
  std::vector<JpegSpec> specs;
  for (const auto coding : {Coding::grey, Coding::ycbcr, Coding::rgb, Coding::cmyk, Coding::ycck}) {
    specs.emplace_back().coding = coding;
  }
  for (const auto& [horizontal, vertical] : {std::pair(2, 1), {2, 2}, {4, 1}, {1, 2}, {3, 1}, {2, 4}}) {
    JpegSpec& spec = specs.emplace_back();
    spec.horizontalFactor = horizontal;
    spec.verticalFactor = vertical;
  }
  JpegSpec& subsampledInk = specs.emplace_back();
  subsampledInk.coding = Coding::ycck;
  subsampledInk.horizontalFactor = subsampledInk.verticalFactor = 2;
  return specs;
}

std::string nameOf(const JpegSpec& spec) {
  return "coding " + std::to_string(static_cast<int>(spec.coding)) + ", " + std::to_string(spec.horizontalFactor) +
         "x" + std::to_string(spec.verticalFactor) + (spec.progressive ? ", progressive" : "") +
         (spec.arithmetic ? ", arithmetic" : "") + (spec.restartInterval != 0 ? ", restarts" : "") +
         (spec.scans.empty() ? "" : ", several scans");
}

/// Whole and damaged; whole it must be taken for whole, without samples.
void compareAll(const JpegSpec& spec, Comparisons& comparisons) {
  const Bytes file = encodeJpeg(spec);
  const auto look = test_support::imageFormat("JPEG").look(file);
  ASSERT_TRUE(look) << nameOf(spec) << ": " << look.reason();
  EXPECT_FALSE(look->raster) << nameOf(spec);
  EXPECT_EQ(look->shape.width, spec.width);
  EXPECT_EQ(look->shape.height, spec.height);
  test_support::compareLookAtDamaged(file, nameOf(spec), comparisons);
}

class JpegLook : public testing::TestWithParam<JpegSpec> {};

TEST_P(JpegLook, AgreesWithTheDecodingOfDamagedFiles) {
  Comparisons comparisons;
  for (const bool arithmetic : {false, true}) {
    for (const bool progressive : {false, true}) {
      JpegSpec spec = GetParam();
      spec.arithmetic = arithmetic;
      spec.progressive = progressive;
      compareAll(spec, comparisons);
      spec.restartInterval = 1;
      compareAll(spec, comparisons);
    }
  }
  report(comparisons);
}

INSTANTIATE_TEST_SUITE_P(Colorings, JpegLook, testing::ValuesIn(colorings()));

TEST(JpegLook, AgreesWithTheDecodingOfFilesOfSeveralScans) {
  Comparisons comparisons;
  for (const bool arithmetic : {false, true}) {
    JpegSpec spec;
    spec.arithmetic = arithmetic;
    spec.horizontalFactor = spec.verticalFactor = 2;
    spec.scans = {{{0}}, {{1}}, {{2}}};
    compareAll(spec, comparisons);
    spec.scans = {{{0}}, {{1, 2}}};
    compareAll(spec, comparisons);
  }
  report(comparisons);
}

TEST(JpegLook, AgreesWithTheDecodingOfEverySmallSize) {
  Comparisons comparisons;
  for (JpegSpec spec : colorings()) {
    for (spec.width = 1; spec.width <= 33; spec.width += 4) {
      for (spec.height = 1; spec.height <= 33; spec.height += 4) {
        test_support::compareLook(
            encodeJpeg(spec), [&] { return nameOf(spec); }, comparisons);
      }
    }
  }
  EXPECT_EQ(comparisons.whole, comparisons.files);
  report(comparisons);
}

}  // namespace
}  // namespace quellor
