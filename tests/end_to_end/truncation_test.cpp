// Cuts whole photos short: an image of which a byte is missing must never be reported as if it were all there.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/corpus.h"
#include "tests/support/heif_layout.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::HeifLayout;

constexpr std::uint64_t kCuts = 20;

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Facts that lie in the structure and the coded image: what a cut behind them must not change.
const char* const kLastingFacts[] = {"width", "height", "bitDepth", "imageCount", "auxiliaryTypes"};

void expectSameFacts(const json& cut, const json& whole) {
  for (const char* key : kLastingFacts) EXPECT_EQ(cut.value(key, json()), whole.value(key, json())) << key;
}

void expectAnswerToCut(const json& response, std::uint64_t size, const HeifLayout& layout, const json& whole) {
  ASSERT_TRUE(response.is_object());
  if (response["success"] == true) {
    EXPECT_GE(size, layout.structureEnd) << "an image out of a structure that is cut";
    EXPECT_GE(size, layout.primaryImageEnd) << "success though the primary image is cut";
    return expectSameFacts(response["input"], whole["input"]);
  }
  EXPECT_FALSE(response.contains("input"));
  if (size < layout.structureEnd) return test_support::expectNoImageSource(response);
  const std::string code = response["error"].value("code", "");
  if (code == "image_source_create_failed") return test_support::expectNoImageSource(response);
  test_support::expectNoPrimaryImage(response);
}

class TruncatedPhoto : public ::testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] static std::filesystem::path photo() { return test_support::sampleFile(GetParam()); }
};

TEST_P(TruncatedPhoto, IsRefusedWhereverItsPrimaryImageIsCut) {
  const std::string content = contentOf(photo());
  const auto layout = test_support::heifLayout(content);
  ASSERT_TRUE(layout.has_value());
  ASSERT_LE(layout->primaryImageEnd, content.size());
  const test_support::TemporaryDirectory directory;
  const json whole = test_support::ask(test_support::inspectRequest(photo()));
  ASSERT_EQ(whole.value("success", false), true) << whole;

  for (std::uint64_t i = 1; i <= kCuts; ++i) {
    const std::uint64_t size = content.size() * i / (kCuts + 1);
    SCOPED_TRACE("cut to " + std::to_string(size) + " of " + std::to_string(content.size()) + " bytes");
    const auto file = directory.write("cut.heic", std::string_view(content).substr(0, size));
    expectAnswerToCut(test_support::ask(test_support::inspectRequest(file)), size, *layout, whole);
  }
}

TEST_P(TruncatedPhoto, IsRefusedWhenOnlyItsLastNeededByteIsMissing) {
  const std::string content = contentOf(photo());
  const auto layout = test_support::heifLayout(content);
  ASSERT_TRUE(layout.has_value());
  const std::uint64_t size = std::max(layout->structureEnd, layout->primaryImageEnd) - 1;
  const test_support::TemporaryDirectory directory;
  const auto file = directory.write("cut.heic", std::string_view(content).substr(0, size));
  const json response = test_support::ask(test_support::inspectRequest(file));
  ASSERT_TRUE(response.is_object());
  expectAnswerToCut(response, size, *layout, json());
}

INSTANTIATE_TEST_SUITE_P(Made, TruncatedPhoto,
                         ::testing::Values("made/hevc-8-bit-420.heic", "made/coding-wavefronts-in-4-slices.heic",
                                           "made/grid-4x6.heic", "made/described-grid.heic",
                                           "made/grid-with-depth-gain-map-thumbnail.heic", "made/overlay-inside.heic",
                                           "made/identity-of-grid-turned.heic", "made/three-pictures.heic",
                                           "made/av1-8-bit-420.avif", "made/library-described-thumbnail.heic"),
                         [](const auto& tested) { return test_support::testName(tested.param); });

// Where the sample folder is absent there is nothing more to cut.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TruncatedPhoto);
INSTANTIATE_TEST_SUITE_P(Photos, TruncatedPhoto, ::testing::ValuesIn(test_support::sampleFilesIn({"photos"})),
                         [](const auto& tested) { return test_support::testName(tested.param); });

}  // namespace
}  // namespace quellor
