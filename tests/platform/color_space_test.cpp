#include "platform/color_space.h"

#include <array>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/color/profile_builder.h"
#include "platform/color/profile_reader.h"
#include "tests/platform/color/icc_bytes.h"

namespace quellor {
namespace {

using testing::Optional;

Cicp codePoints(std::uint16_t primaries, std::uint16_t transfer, std::uint16_t matrix = 6) {
  return {primaries, transfer, matrix, true};
}

/// A profile of no known space.
Bytes customProfile(std::string_view space, const std::optional<std::string>& description) {
  icc::Header header;
  header.space = space;
  std::vector<icc::Tag> tags;
  if (description) tags.push_back({"desc", icc::asciiDescription(*description)});
  if (space == "CMYK") {
    header.connection = "Lab ";
    tags.push_back({"A2B0", icc::typed("mft2")});
  } else if (space == "GRAY") {
    tags.push_back({"kTRC", icc::gamma(1.75)});
  } else {
    tags.push_back({"rXYZ", icc::xyz(0.4, 0.2, 0.01)});
    tags.push_back({"gXYZ", icc::xyz(0.4, 0.7, 0.1)});
    tags.push_back({"bXYZ", icc::xyz(0.16, 0.1, 0.71)});
    for (const std::string_view curve : {"rTRC", "gTRC", "bTRC"}) tags.push_back({curve, icc::gamma(1.75)});
  }
  return icc::profile(header, tags);
}

struct CodePointCase {
  std::uint16_t primaries;
  std::uint16_t transfer;
  std::string name;
  bool hasProfile;
};

// ITU-T H.273, tables 2 and 3.
const std::vector<CodePointCase> kCodePoints{
    {1, 13, "kCGColorSpaceSRGB", true},
    {12, 13, "kCGColorSpaceDisplayP3", true},
    {1, 1, "kCGColorSpaceITUR_709", true},
    {9, 1, "kCGColorSpaceITUR_2020", true},
    {9, 14, "kCGColorSpaceITUR_2020", true},
    {9, 15, "kCGColorSpaceITUR_2020", true},
    {9, 16, "kCGColorSpaceITUR_2100_PQ", false},
    {9, 18, "kCGColorSpaceITUR_2100_HLG", false},
    {12, 16, "kCGColorSpaceDisplayP3_PQ", false},
    {12, 18, "kCGColorSpaceDisplayP3_HLG", false},
    {11, 17, "kCGColorSpaceDCIP3", true},
    // Without a name of their own.
    {2, 2, "kCGColorSpaceSRGB", true},
    {1, 2, "kCGColorSpaceSRGB", true},
    {2, 13, "kCGColorSpaceSRGB", true},
    {12, 2, "kCGColorSpaceSRGB", true},
    {2, 16, "kCGColorSpaceSRGB", true},
    {0, 0, "kCGColorSpaceSRGB", true},
    {5, 6, "kCGColorSpaceSRGB", true},
    {65535, 65535, "kCGColorSpaceSRGB", true},
};

TEST(ColorSpaceOfAnImage, IsNamedByItsCodePoints) {
  for (const CodePointCase& expected : kCodePoints) {
    for (const std::uint16_t matrix : std::to_array<std::uint16_t>({0, 1, 2, 6, 9})) {
      const Cicp cicp = codePoints(expected.primaries, expected.transfer, matrix);
      const ImageColor color = colorSpaceOf(ColorModel::rgb, std::nullopt, cicp);
      EXPECT_THAT(color.space.name(), Optional(expected.name)) << expected.primaries << '/' << expected.transfer;
      EXPECT_EQ(color.space.iccData() != nullptr, expected.hasProfile) << expected.name;
      EXPECT_EQ(color.space.model(), ColorModel::rgb);
      EXPECT_FALSE(color.space.embedded());
      EXPECT_EQ(color.profileName, std::nullopt);
    }
  }
}

TEST(ColorSpaceOfAnImage, CarriesTheProfileThatIsBuiltForItsName) {
  const ImageColor color = colorSpaceOf(ColorModel::rgb, std::nullopt, codePoints(12, 13));
  ASSERT_NE(color.space.iccData(), nullptr);
  EXPECT_EQ(*color.space.iccData(), buildProfile("kCGColorSpaceDisplayP3"));
}

struct ModelCase {
  ColorModel model;
  std::string name;
  bool hasProfile;
};

const std::vector<ModelCase> kDefaults{
    {ColorModel::rgb, "kCGColorSpaceSRGB", true},
    {ColorModel::grey, "kCGColorSpaceGenericGrayGamma2_2", true},
    {ColorModel::cmyk, "kCGColorSpaceGenericCMYK", false},
};

TEST(ColorSpaceOfAnImage, FollowsTheModelWhereTheFileSaysNothing) {
  for (const ModelCase& expected : kDefaults) {
    const ImageColor color = colorSpaceOf(expected.model, std::nullopt, std::nullopt);
    EXPECT_THAT(color.space.name(), Optional(expected.name));
    EXPECT_EQ(color.space.model(), expected.model);
    EXPECT_EQ(color.space.iccData() != nullptr, expected.hasProfile) << expected.name;
    EXPECT_FALSE(color.space.embedded());
  }
}

TEST(ColorSpaceOfAnImage, OfGreyOrCmykDoesNotDependOnCodePoints) {
  for (const CodePointCase& points : kCodePoints) {
    const Cicp cicp = codePoints(points.primaries, points.transfer);
    EXPECT_THAT(colorSpaceOf(ColorModel::grey, std::nullopt, cicp).space.name(),
                Optional(std::string("kCGColorSpaceGenericGrayGamma2_2")));
    EXPECT_THAT(colorSpaceOf(ColorModel::cmyk, std::nullopt, cicp).space.name(),
                Optional(std::string("kCGColorSpaceGenericCMYK")));
  }
}

TEST(ColorSpaceOfAnImage, IsTheEmbeddedProfileByteForByteBeforeAnythingElse) {
  struct Case {
    ColorModel model;
    std::string_view signature;
  };
  for (const auto& [model, signature] :
       {Case{ColorModel::rgb, "RGB "}, Case{ColorModel::grey, "GRAY"}, Case{ColorModel::cmyk, "CMYK"}}) {
    const Bytes profile = customProfile(signature, "House profile");
    const ImageColor color = colorSpaceOf(model, profile, codePoints(9, 16));
    EXPECT_THAT(color.space.name(), Optional(std::string("House profile"))) << signature;
    EXPECT_EQ(color.profileName, color.space.name());
    EXPECT_TRUE(color.space.embedded());
    EXPECT_EQ(color.space.model(), model);
    ASSERT_NE(color.space.iccData(), nullptr);
    EXPECT_EQ(*color.space.iccData(), profile);
  }
}

TEST(ColorSpaceOfAnImage, KeepsBytesBehindTheEmbeddedProfile) {
  Bytes profile = customProfile("RGB ", "House profile");
  profile.resize(profile.size() + 3);
  const ImageColor color = colorSpaceOf(ColorModel::rgb, profile, std::nullopt);
  ASSERT_NE(color.space.iccData(), nullptr);
  EXPECT_EQ(*color.space.iccData(), profile);
}

TEST(ColorSpaceOfAnImage, HasTheKnownNameAndTheProfilesOwnDescription) {
  const std::optional<Bytes> profile = buildProfile("kCGColorSpaceAdobeRGB1998");
  const ImageColor color = colorSpaceOf(ColorModel::rgb, profile, std::nullopt);
  EXPECT_THAT(color.space.name(), Optional(std::string("kCGColorSpaceAdobeRGB1998")));
  EXPECT_THAT(color.profileName, Optional(std::string("Adobe RGB (1998)")));
  EXPECT_TRUE(color.space.embedded());
}

TEST(ColorSpaceOfAnImage, HasNoNameWhereTheEmbeddedProfileHasNone) {
  const Bytes profile = customProfile("RGB ", std::nullopt);
  const ImageColor color = colorSpaceOf(ColorModel::rgb, profile, codePoints(1, 13));
  EXPECT_EQ(color.space.name(), std::nullopt);
  EXPECT_EQ(color.profileName, std::nullopt);
  EXPECT_TRUE(color.space.embedded());
}

TEST(ColorSpaceOfAnImage, IgnoresAProfileThatIsUnusableOrOfAnotherModel) {
  Bytes cut = customProfile("RGB ", "House profile");
  cut.pop_back();
  const std::vector<Bytes> ignored{
      {}, Bytes(1), Bytes(4096), cut, customProfile("GRAY", "Grey profile"), customProfile("CMYK", "Ink profile")};
  for (const Bytes& profile : ignored) {
    const ImageColor color = colorSpaceOf(ColorModel::rgb, profile, codePoints(12, 13));
    EXPECT_THAT(color.space.name(), Optional(std::string("kCGColorSpaceDisplayP3"))) << profile.size();
    EXPECT_FALSE(color.space.embedded());
    EXPECT_EQ(color.profileName, std::nullopt);
  }
  EXPECT_THAT(colorSpaceOf(ColorModel::grey, customProfile("RGB ", "Colour"), std::nullopt).space.name(),
              Optional(std::string("kCGColorSpaceGenericGrayGamma2_2")));
}

}  // namespace
}  // namespace quellor
