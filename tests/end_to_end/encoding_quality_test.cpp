// What quality means to the files that encode-candidate writes.

#include <cmath>
#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/png_fixture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::kEncodeCandidate;
using test_support::kRewriteDecoded;
using test_support::WrittenImage;

/// Waves of all directions with a grain, as a lens and a sensor make them.
Bytes texture() {
  test_support::PngSpec spec;
  spec.width = 320;
  spec.height = 240;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    const double waves =
        128 + 50 * std::sin((x + 40 * component) / 9.0) * std::cos(y / 13.0) + 30 * std::sin(x * y / 900.0);
    const std::uint32_t grain = ((x * 2654435761U) ^ (y * 2246822519U) ^ (component * 3266489917U)) >> 29;
    return static_cast<std::uint32_t>(waves) + grain;
  };
  return test_support::encodePng(spec);
}

Bytes photo() {
  const std::string file = test_support::contentsOf(std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic");
  return {file.begin(), file.end()};
}

class Quality : public ::testing::TestWithParam<std::function<Bytes()>> {};

TEST_P(Quality, MakesLargerFilesAndLessNoiseWithoutException) {
  const Bytes input = GetParam()();
  const auto original = test_support::exportPixelsOf(input);
  std::int64_t lastSize = 0;
  double lastLikeness = 0;
  for (int tenths = 0; tenths <= 10; ++tenths) {
    const WrittenImage image(kEncodeCandidate, input, tenths / 10.0);
    ASSERT_TRUE(image.written()) << image.answer();
    const auto size = image.answer()["output"]["bytes"].get<std::int64_t>();
    const double likeness = test_support::psnr(original, test_support::exportPixels(image.path()));
    std::printf("quality %.1f: %7ld bytes, %5.2f dB\n", tenths / 10.0, static_cast<long>(size), likeness);
    EXPECT_GT(size, lastSize) << tenths;
    EXPECT_GT(likeness, lastLikeness) << tenths;
    lastSize = size;
    lastLikeness = likeness;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, Quality, ::testing::Values(texture, photo),
                         [](const auto& tested) { return tested.index == 0 ? "ATexture" : "APhoto"; });

TEST(Quality, OfADecodedRewriteIsEightTenths) {
  const WrittenImage rewritten(kRewriteDecoded, texture());
  const WrittenImage candidate(kEncodeCandidate, texture(), 0.8);
  ASSERT_TRUE(rewritten.written() && candidate.written());
  EXPECT_TRUE(rewritten.bytes() == candidate.bytes());
}

/// The answer to writing a picture with a quality.
json writtenAt(const char* operation, const json& quality) {
  const test_support::TemporaryDirectory folder;
  const Bytes picture = test_support::encodePng(test_support::plainPng());
  const auto input = folder.write("in", {reinterpret_cast<const char*>(picture.data()), picture.size()});
  return test_support::ask(
      test_support::with(test_support::writingRequest(operation, input, folder.path() / "out"), "quality", quality));
}

TEST(QualityOfACandidate, MayBeAnythingFrom0To1AndComesBackAsItWas) {
  for (const json& quality :
       {json(0), json(0.0), json(-0.0), json(1), json(1.0), json(0.1), json(1e-300), json(std::nextafter(1.0, 0.0))}) {
    const json answer = writtenAt(kEncodeCandidate, quality);
    EXPECT_EQ(answer.value("success", false), true) << answer;
    EXPECT_EQ(answer.value("quality", json()), quality);
  }
}

TEST(QualityOfAnotherOperation, IsNeitherLookedAtNorAnswered) {
  for (const char* operation : {test_support::kRewriteFromSource, kRewriteDecoded, test_support::kExport}) {
    for (const json& quality : {json(5.0), json(-1), json(0.5)}) {
      const json answer = writtenAt(operation, quality);
      EXPECT_EQ(answer.value("success", false), true) << answer;
      EXPECT_FALSE(answer.contains("quality")) << operation;
    }
  }
}

}  // namespace
}  // namespace quellor
