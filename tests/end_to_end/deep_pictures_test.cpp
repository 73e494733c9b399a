// Pictures of more than 8 bits: copied or encoded deep, and refused by their depth where eight bits would be left.

#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/heif_photo.h"
#include "tests/support/png_fixture.h"
#include "tests/support/shown_picture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::kEncodeCandidate;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::Pixel;
using test_support::WrittenImage;

constexpr std::uint32_t kWidth = 33, kHeight = 21;

Pixel slopes(std::uint32_t x, std::uint32_t y) {
  const int level = static_cast<int>(60 + 2 * x + 4 * y);
  return {level, level, level, 255};
}

Bytes deepPng() {
  test_support::PngSpec spec;
  spec.width = kWidth;
  spec.height = kHeight;
  spec.bitDepth = 16;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    return static_cast<std::uint32_t>(slopes(x, y)[component] * 257);
  };
  return test_support::encodePng(spec);
}

struct DeepPicture {
  int depth;
  int writtenDepth;
  std::function<Bytes()> file;

  friend void PrintTo(const DeepPicture& picture, std::ostream* out) { *out << picture.depth << " bits"; }
};

class Deep : public ::testing::TestWithParam<DeepPicture> {};

TEST_P(Deep, IsRefusedByItsDepthWhereItWouldBeDecoded) {
  const Bytes input = GetParam().file();
  for (const char* operation : {kEncodeCandidate, kRewriteDecoded}) {
    const WrittenImage image(operation, input, 0.9);
    test_support::expectFailure(test_support::without(image.answer(), "quality"), "unsupported_bit_depth",
                                "bit depth " + std::to_string(GetParam().depth) + " not supported");
    const auto folder = image.path().parent_path();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1) << "more than the input";
  }
}

TEST_P(Deep, IsRewrittenFromItsSource) {
  const WrittenImage image(kRewriteFromSource, GetParam().file());
  ASSERT_TRUE(image.written()) << image.answer();
  EXPECT_EQ(image.answer()["input"]["bitDepth"], GetParam().depth);
  EXPECT_EQ(image.answer()["output"]["bitDepth"], GetParam().writtenDepth);
  if (!test_support::requireJudge(test_support::kPictureJudge)) return;
  const std::string pixels = test_support::shownPixels(image.path(), kWidth, kHeight);
  EXPECT_LT(test_support::differencesFrom(slopes, pixels, kWidth).color, 3);
}

INSTANTIATE_TEST_SUITE_P(
    Picture, Deep,
    ::testing::Values(DeepPicture{16, 10, deepPng},
                      DeepPicture{10, 10,
                                  [] {
                                    return test_support::encodedByHeifLibrary(deepPng(), {"-b", "10"});
                                  }},
                      DeepPicture{12, 12,
                                  [] {
                                    return test_support::encodedByHeifLibrary(deepPng(), {"-b", "12"});
                                  }}),
    [](const auto& tested) { return "Of" + std::to_string(tested.param.depth) + "Bits"; });

}  // namespace
}  // namespace quellor
