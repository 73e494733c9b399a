// Colours that a written file cannot keep: the rule that refuses it, and nothing left of it.

#include <filesystem>
#include <iterator>
#include <optional>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/support/cmyk_fixture.h"
#include "tests/support/corpus.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::kEncodeCandidate;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::profiledCmykJpeg;
using test_support::WrittenImage;

constexpr const char* kDisplayP3Lost = "Display P3 input color space was not preserved in output";
constexpr const char* kProfileChanged = "ICC profile hash changed between input and output";

class ColorSpaceChange : public ::testing::TestWithParam<const char*> {
 protected:
  /// Nothing may be beside the input, not even a hidden file.
  static void expectRefused(const Bytes& input, const char* message) {
    const WrittenImage image(GetParam(), input, 0.5);
    test_support::expectFailure(test_support::without(image.answer(), "quality"), "color_space_changed", message);
    const auto folder = image.path().parent_path();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1) << "a file was left";
  }
};

// CMYK pictures become RGB, so that what their profile says of them is not true of the output.
TEST_P(ColorSpaceChange, IsRefusedByTheNameOfTheProfileOrElseByItsDigest) {
  const struct {
    std::optional<std::string_view> description;
    const char* message;
  } cases[] = {{"Ink on paper", kProfileChanged}, {std::nullopt, kProfileChanged},
               {"Display P3", kDisplayP3Lost},    {"Proof of DISPLAY P3, coated", kDisplayP3Lost},
               {"displayp3", kDisplayP3Lost},     {"Display-P3", kProfileChanged}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.description.value_or("without a description"));
    expectRefused(profiledCmykJpeg(each.description), each.message);
  }
}

TEST_P(ColorSpaceChange, IsRefusedWhateverThePolicySays) {
  for (const bool preserve : {true, false}) {
    const WrittenImage image(GetParam(), profiledCmykJpeg("Ink"), 0.5, {{"preserveColorProfile", preserve}});
    EXPECT_EQ(image.answer()["error"]["code"], "color_space_changed") << image.answer();
  }
}

TEST_P(ColorSpaceChange, IsNoneWhereTheNamesAgree) {
  const WrittenImage image(GetParam(), profiledCmykJpeg("kCGColorSpaceSRGB"), 0.5);
  ASSERT_TRUE(image.written()) << image.answer();
  EXPECT_NE(image.answer()["input"]["iccProfileSHA256"], image.answer()["output"]["iccProfileSHA256"]);
}

TEST_P(ColorSpaceChange, IsNoneWhereTheInputHasNoProfile) {
  test_support::JpegSpec spec;
  spec.coding = test_support::JpegSpec::Coding::cmyk;
  const WrittenImage image(GetParam(), test_support::encodeJpeg(spec), 0.5);
  ASSERT_TRUE(image.written()) << image.answer();
  EXPECT_EQ(image.answer()["input"]["colorSpaceName"], "kCGColorSpaceGenericCMYK");
  EXPECT_FALSE(image.answer()["input"].contains("iccProfileSHA256"));
  EXPECT_EQ(image.answer()["output"]["colorSpaceName"], "kCGColorSpaceSRGB");
}

INSTANTIATE_TEST_SUITE_P(Of, ColorSpaceChange, ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded),
                         [](const auto& tested) { return test_support::testName(tested.param); });

}  // namespace
}  // namespace quellor
