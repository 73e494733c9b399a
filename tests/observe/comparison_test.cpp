#include "observe/comparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "observe/text.h"

namespace quellor {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kDisplayP3Lost = "color_space_changed: Display P3 input color space was not preserved in output";
constexpr const char* kIccChanged = "color_space_changed: ICC profile hash changed between input and output";

using Text = std::optional<std::string>;

ImageObservation withColor(Text name, Text digest) {
  ImageObservation observation;
  observation.colorSpaceName = std::move(name);
  observation.iccProfileSHA256 = std::move(digest);
  return observation;
}

ImageObservation withKeys(std::optional<std::vector<std::string>> keys) {
  ImageObservation observation;
  observation.metadataKeys = std::move(keys);
  return observation;
}

ImageObservation withOrientation(std::optional<std::int64_t> orientation) {
  ImageObservation observation;
  observation.orientation = orientation;
  return observation;
}

template <typename Check>
std::string raisedBy(Check check) {
  try {
    check();
    return "";
  } catch (const HelperFailure& failure) {
    return failure.code + ": " + failure.message;
  }
}

TEST(ComputeRemovedItems, ListsTheKeysThatTheOutputLacks) {
  EXPECT_THAT(
      computeRemovedItems(withKeys({{"Orientation", "{Exif}", "{GPS}"}}), withKeys({{"Orientation", "{Exif}"}})),
      ElementsAre("{GPS}"));
}

TEST(ComputeRemovedItems, IgnoresWhatOnlyTheOutputHas) {
  EXPECT_THAT(computeRemovedItems(withKeys({{"Depth"}}), withKeys({{"Depth", "{Exif}"}})), IsEmpty());
}

TEST(ComputeRemovedItems, TakesAnAbsentListForAnEmptyOne) {
  EXPECT_THAT(computeRemovedItems(withKeys({{"b", "a"}}), withKeys(std::nullopt)), ElementsAre("a", "b"));
  EXPECT_THAT(computeRemovedItems(withKeys(std::nullopt), withKeys({{"a"}})), IsEmpty());
}

TEST(ComputeRemovedItems, ListsEachKeyOnce) {
  EXPECT_THAT(computeRemovedItems(withKeys({{"a", "a"}}), withKeys(std::nullopt)), ElementsAre("a"));
}

TEST(ComputeRemovedItems, NamesAuxiliaryImagesByTheirLabels) {
  ImageObservation input;
  input.auxiliaryTypes = {"depth", "hdr_gain_map"};
  ImageObservation output;
  output.auxiliaryTypes = std::vector<std::string>{};
  EXPECT_THAT(computeRemovedItems(input, output), ElementsAre("auxiliary:depth", "auxiliary:hdr_gain_map"));
  output.auxiliaryTypes = {"depth"};
  EXPECT_THAT(computeRemovedItems(input, output), ElementsAre("auxiliary:hdr_gain_map"));
}

TEST(ComputeRemovedItems, ListsAProfileOnlyWhenTheOutputReportsOneOfNoBytes) {
  const struct {
    std::optional<std::int64_t> input, output;
    bool removed;
  } cases[] = {{548, 0, true},  {1, 0, true},  {548, std::nullopt, false},          {548, 548, false},
               {548, 1, false}, {0, 0, false}, {std::nullopt, std::nullopt, false}, {std::nullopt, 0, false}};
  for (const auto& c : cases) {
    ImageObservation input, output;
    input.iccProfileBytes = c.input;
    output.iccProfileBytes = c.output;
    EXPECT_EQ(computeRemovedItems(input, output),
              c.removed ? std::vector<std::string>{"ICC"} : std::vector<std::string>{})
        << c.input.value_or(-1) << " to " << c.output.value_or(-1);
  }
}

TEST(ComputeRemovedItems, SortsAllItemsTogetherByCodePoint) {
  ImageObservation input = withKeys({{"{GPS}", "Orientation", "zebra", "DPIWidth", "\u00e9", "{Exif}"}});
  input.auxiliaryTypes = {"depth"};
  input.iccProfileBytes = 3;
  ImageObservation output;
  output.iccProfileBytes = 0;
  EXPECT_THAT(computeRemovedItems(input, output),
              ElementsAre("DPIWidth", "ICC", "Orientation", "auxiliary:depth", "zebra", "{Exif}", "{GPS}", "\u00e9"));
}

TEST(ValidateColorSpacePreserved, FollowsTheTwoRules) {
  const struct {
    const char* why;
    Text inputName, inputDigest, outputName, outputDigest;
    const char* failure;
  } cases[] = {
      {"Display P3 kept", "Display P3", "aa", "Display P3", "aa", ""},
      {"Display P3 kept in another spelling", "DISPLAY P3", "aa", "kCGColorSpaceDisplayP3", "aa", ""},
      {"Display P3 within a longer name", "Apple Display P3 (v4)", {}, "displayp3", {}, ""},
      {"Display P3 became sRGB", "kCGColorSpaceDisplayP3", {}, "kCGColorSpaceSRGB", {}, kDisplayP3Lost},
      {"Display P3 became nameless", "displayp3", {}, {}, {}, kDisplayP3Lost},
      {"nearly Display P3", "Display-P3", {}, "kCGColorSpaceSRGB", {}, ""},
      {"Display P3 comes before the profile", "display p3", "aa", "kCGColorSpaceSRGB", "bb", kDisplayP3Lost},
      {"the profile still counts for Display P3", "Display P3", "aa", "DisplayP3", "bb", kIccChanged},
      {"sRGB became Display P3", "kCGColorSpaceSRGB", {}, "kCGColorSpaceDisplayP3", {}, ""},
      {"same name, other profile", "A", "aa", "A", "bb", ""},
      {"no name twice, other profile", {}, "aa", {}, "bb", ""},
      {"other name, other profile", "A", "aa", "B", "bb", kIccChanged},
      {"name lost, other profile", "A", "aa", {}, "bb", kIccChanged},
      {"name gained, other profile", {}, "aa", "B", "bb", kIccChanged},
      {"other name, same profile", "A", "aa", "B", "aa", ""},
      {"profile lost", "A", "aa", "B", {}, ""},
      {"profile gained", "A", {}, "B", "bb", ""},
      {"nothing known", {}, {}, {}, {}, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(raisedBy([&] {
                validateColorSpacePreserved(withColor(c.inputName, c.inputDigest),
                                            withColor(c.outputName, c.outputDigest));
              }),
              c.failure)
        << c.why;
  }
}

TEST(ValidateColorSpacePreserved, LeavesALostProfileOutOfTheRemovedItemsToo) {
  ImageObservation input = withColor("A", "aa");
  input.iccProfileBytes = 3;
  const ImageObservation output = withColor("A", std::nullopt);
  EXPECT_NO_THROW(validateColorSpacePreserved(input, output));
  EXPECT_THAT(computeRemovedItems(input, output), IsEmpty());
}

TEST(ValidateOrientationPreserved, RefusesAnotherOrientationUnlessThePolicyDoesNotMind) {
  const auto policy = [](std::optional<bool> preserve) {
    MetadataPolicy result;
    result.preserveOrientation = preserve;
    return std::optional(result);
  };
  const struct {
    std::optional<std::int64_t> input, output;
    std::optional<MetadataPolicy> policy;
    const char* failure;
  } cases[] = {
      {6, 1, std::nullopt, "orientation_changed: orientation changed from 6 to 1"},
      {1, 8, policy(std::nullopt), "orientation_changed: orientation changed from 1 to 8"},
      {3, -5, policy(true), "orientation_changed: orientation changed from 3 to -5"},
      {6, 1, policy(false), ""},
      {6, 6, std::nullopt, ""},
      {6, std::nullopt, std::nullopt, ""},
      {std::nullopt, 6, std::nullopt, ""},
      {std::nullopt, std::nullopt, std::nullopt, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(
        raisedBy([&] { validateOrientationPreserved(withOrientation(c.input), withOrientation(c.output), c.policy); }),
        c.failure);
  }
}

TEST(ContainsIgnoringCase, FindsAPartAnywhereInAnyCase) {
  EXPECT_TRUE(containsIgnoringCase("{XMP}", "xmp"));
  EXPECT_TRUE(containsIgnoringCase("aXmPb", "xMp"));
  EXPECT_TRUE(containsIgnoringCase("maker", "maker"));
  EXPECT_TRUE(containsIgnoringCase("anything", ""));
  EXPECT_TRUE(containsIgnoringCase("", ""));
  EXPECT_FALSE(containsIgnoringCase("xm", "xmp"));
  EXPECT_FALSE(containsIgnoringCase("", "xmp"));
  EXPECT_FALSE(containsIgnoringCase("x-mp", "xmp"));
}

}  // namespace
}  // namespace quellor
