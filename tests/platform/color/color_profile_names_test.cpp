#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/color/profile_builder.h"
#include "platform/color/profile_reader.h"
#include "tests/platform/color/icc_bytes.h"
#include "tests/support/corpus.h"

namespace quellor {
namespace {

using Name = std::optional<std::string>;

double srgbCurve(double value) { return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4); }

const Bytes kSrgbCurve = icc::parametric(3, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045});
const Bytes kBt709Curve = icc::parametric(3, {1 / 0.45, 1 / 1.099, 0.099 / 1.099, 1 / 4.5, 0.081});

/// Columns of an RGB profile as profiles in circulation have them.
struct Columns {
  Bytes red, green, blue;
};

const Columns kSrgb{icc::xyz(0.43607, 0.22249, 0.01392), icc::xyz(0.38515, 0.71687, 0.09708),
                    icc::xyz(0.14307, 0.06061, 0.71410)};
const Columns kSrgbSummingToD50{icc::xyz(0.43604, 0.22248, 0.01392), icc::xyz(0.38512, 0.71690, 0.09706),
                                icc::xyz(0.14305, 0.06062, 0.71392)};
const Columns kDisplayP3{icc::xyz(0.51512, 0.24120, -0.00105), icc::xyz(0.29198, 0.69225, 0.04189),
                         icc::xyz(0.15710, 0.06657, 0.78407)};
const Columns kAdobeRgb{icc::xyz(0.60974, 0.31111, 0.01947), icc::xyz(0.20528, 0.62567, 0.06087),
                        icc::xyz(0.14919, 0.06322, 0.74457)};
const Columns kRomm{icc::xyz(0.7977, 0.28799, 0), icc::xyz(0.13519, 0.7119, 0), icc::xyz(0.0313, 0.00011, 0.82491)};
// SMPTE RP 145 primaries, white D65, adapted to D50: the nearest to sRGB of the spaces that are not sRGB.
const Columns kSmpteC{icc::xyz(0.41629, 0.22172, 0.01368), icc::xyz(0.39313, 0.70328, 0.09135),
                      icc::xyz(0.15475, 0.07500, 0.72007)};

std::vector<icc::Tag> rgbTags(const Columns& columns, const Bytes& curve) {
  return {{"rXYZ", columns.red}, {"gXYZ", columns.green}, {"bXYZ", columns.blue},
          {"rTRC", curve},       {"gTRC", curve},         {"bTRC", curve}};
}

Bytes rgbProfile(const Columns& columns, const Bytes& curve, const icc::Header& header = {}) {
  return icc::profile(header, rgbTags(columns, curve));
}

Name knownSpace(const Bytes& profile) {
  const std::optional<ProfileFacts> facts = describeProfile(profile);
  EXPECT_TRUE(facts) << "not usable";
  return facts ? facts->knownSpace : std::nullopt;
}

struct SpaceCase {
  std::string what;
  Columns columns;
  Bytes curve;
  Name expected;
};

const std::vector<SpaceCase> kSpaces{
    {"sRGB, table of 1024", kSrgb, icc::table(1024, srgbCurve), "kCGColorSpaceSRGB"},
    {"sRGB, table of 42", kSrgbSummingToD50, icc::table(42, srgbCurve), "kCGColorSpaceSRGB"},
    {"sRGB, table of 26", kSrgbSummingToD50, icc::table(26, srgbCurve), "kCGColorSpaceSRGB"},
    {"sRGB, table of 20", kSrgbSummingToD50, icc::table(20, srgbCurve), "kCGColorSpaceSRGB"},
    {"sRGB, function 3", kSrgb, kSrgbCurve, "kCGColorSpaceSRGB"},
    {"sRGB, function 4", kSrgb, icc::parametric(4, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045, 0, 0}),
     "kCGColorSpaceSRGB"},
    {"Display P3", kDisplayP3, kSrgbCurve, "kCGColorSpaceDisplayP3"},
    {"Display P3, table", kDisplayP3, icc::table(1024, srgbCurve), "kCGColorSpaceDisplayP3"},
    {"Adobe RGB", kAdobeRgb, icc::gamma(2.19921875), "kCGColorSpaceAdobeRGB1998"},
    {"Adobe RGB, gamma 2.2", kAdobeRgb, icc::parametric(0, {2.2}), "kCGColorSpaceAdobeRGB1998"},
    {"ROMM RGB, gamma 1.8", kRomm, icc::gamma(1.8), "kCGColorSpaceROMMRGB"},
    {"Rec. 709", kSrgb, kBt709Curve, "kCGColorSpaceITUR_709"},
    {"linear sRGB, empty curve", kSrgb, icc::table(0, srgbCurve), "kCGColorSpaceLinearSRGB"},
    {"linear sRGB, gamma 1", kSrgb, icc::gamma(1), "kCGColorSpaceLinearSRGB"},
    {"sRGB primaries, gamma 2.2", kSrgb, icc::gamma(2.2), std::nullopt},
    {"sRGB primaries, gamma 2.4", kSrgb, icc::gamma(2.4), std::nullopt},
    {"P3 primaries, gamma 2.6, white D65", kDisplayP3, icc::gamma(2.6), std::nullopt},
    {"P3 primaries, Rec. 709 curve", kDisplayP3, kBt709Curve, std::nullopt},
    {"P3 primaries, linear", kDisplayP3, icc::gamma(1), std::nullopt},
    {"Adobe primaries, sRGB curve", kAdobeRgb, kSrgbCurve, std::nullopt},
    {"ROMM primaries, gamma 2.2", kRomm, icc::gamma(2.2), std::nullopt},
    {"SMPTE-C primaries, sRGB curve", kSmpteC, kSrgbCurve, std::nullopt},
};

TEST(KnownSpaceOfAProfile, FollowsFromColorantsAndCurves) {
  for (const SpaceCase& space : kSpaces) {
    EXPECT_EQ(knownSpace(rgbProfile(space.columns, space.curve)), space.expected) << space.what;
  }
}

TEST(KnownSpaceOfAProfile, DoesNotDependOnTheProfilesVersionOrClass) {
  for (const std::uint32_t version : {0x02000000U, 0x02400000U, 0x04000000U, 0x04400000U}) {
    for (const std::string_view profileClass : {"mntr", "scnr", "prtr", "spac"}) {
      const icc::Header header{"RGB ", "XYZ ", profileClass, version};
      EXPECT_EQ(knownSpace(rgbProfile(kSrgb, kSrgbCurve, header)), "kCGColorSpaceSRGB") << profileClass;
    }
  }
}

TEST(KnownSpaceOfAProfile, NeedsAllThreeComponents) {
  for (std::size_t changed = 0; changed < 3; ++changed) {
    std::vector<icc::Tag> tags = rgbTags(kSrgb, kSrgbCurve);
    tags[3 + changed].data = icc::gamma(1.8);
    EXPECT_EQ(knownSpace(icc::profile({}, tags)), std::nullopt) << tags[3 + changed].signature;
    tags = rgbTags(kSrgb, kSrgbCurve);
    std::swap(tags[changed].data, tags[(changed + 1) % 3].data);
    EXPECT_EQ(knownSpace(icc::profile({}, tags)), std::nullopt) << tags[changed].signature;
  }
}

TEST(KnownSpaceOfAProfile, IsAbsentForATableWithoutAMatrix) {
  const std::optional<ProfileFacts> facts = describeProfile(
      icc::profile({"RGB ", "Lab "}, {{"desc", icc::asciiDescription("sRGB by table")}, {"A2B0", icc::typed("mft2")}}));
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->knownSpace, std::nullopt);
  EXPECT_EQ(facts->description, "sRGB by table");
}

TEST(KnownSpaceOfAProfile, OfGreyFollowsFromItsCurve) {
  struct Case {
    std::string what;
    Bytes curve;
    std::string_view connection;
    Name expected;
  };
  const std::vector<Case> cases{
      {"gamma 2.2", icc::parametric(0, {2.2}), "XYZ ", "kCGColorSpaceGenericGrayGamma2_2"},
      {"gamma 563/256", icc::gamma(2.19921875), "XYZ ", "kCGColorSpaceGenericGrayGamma2_2"},
      {"linear", icc::gamma(1), "XYZ ", "kCGColorSpaceLinearGray"},
      {"sRGB curve", kSrgbCurve, "XYZ ", std::nullopt},
      {"sRGB curve, table", icc::table(1024, srgbCurve), "XYZ ", std::nullopt},
      {"gamma 1.8", icc::gamma(1.8), "XYZ ", std::nullopt},
      {"gamma 2.25", icc::gamma(2.25), "XYZ ", std::nullopt},
      {"lightness 1", icc::gamma(1), "Lab ", std::nullopt},
      {"lightness 2.2", icc::gamma(2.2), "Lab ", std::nullopt},
  };
  for (const Case& grey : cases) {
    const std::optional<ProfileFacts> facts = describeProfile(
        icc::profile({"GRAY", grey.connection}, {{"desc", icc::asciiDescription(grey.what)}, {"kTRC", grey.curve}}));
    ASSERT_TRUE(facts) << grey.what;
    EXPECT_EQ(facts->model, ColorModel::grey);
    EXPECT_EQ(facts->knownSpace, grey.expected) << grey.what;
    EXPECT_EQ(facts->description, grey.what);
  }
}

TEST(KnownSpaceOfAProfile, IsThatOfFiles) {
  struct Case {
    std::string file, description;  // as exiftool reads it
    Name expected;
  };
  std::vector<Case> cases{{"made/profile-display-p3.heic", "Display P3", "kCGColorSpaceDisplayP3"},
                          {"made/profile-adobe-rgb.heic", "Adobe RGB (1998)", "kCGColorSpaceAdobeRGB1998"},
                          {"made/jpeg-own-space.jpg", "Camera RGB of this roll", std::nullopt},
                          {"made/tiff-adobe-rgb.tiff", "Adobe RGB (1998)", "kCGColorSpaceAdobeRGB1998"}};
  const std::vector<Case> ofTheFolder{
      {"other/jpg_Canon_40D.jpg", "sRGB IEC61966-2.1", "kCGColorSpaceSRGB"},
      {"other/jpg_xmp_BlueSquare.jpg", "sRGB IEC61966-2.1", "kCGColorSpaceSRGB"},
      {"other/jpg_orientation_landscape_3.jpg", "Generic RGB Profile", std::nullopt},
      {"photos/phone-grid-12mp.heic", "Display P3", "kCGColorSpaceDisplayP3"},
      {"photos/headset-spatial-pair.heic", "Display P3", "kCGColorSpaceDisplayP3"},
      {"photos/phone-depth-gainmap.heic", "Display P3", "kCGColorSpaceDisplayP3"},
      {"photos/phone-tmap-gainmap.heic", "DCI-P3 D65 Gamut with sRGB Transfer", "kCGColorSpaceDisplayP3"},
  };
  if (test_support::hasSampleFolder()) cases.insert(cases.end(), ofTheFolder.begin(), ofTheFolder.end());
  for (const Case& sample : cases) {
    std::ifstream stream(test_support::sampleFile(sample.file), std::ios::binary);
    const Bytes file((std::istreambuf_iterator<char>(stream)), {});
    const std::optional<Bytes> profile = icc::findProfile(file);
    ASSERT_TRUE(profile) << sample.file;
    const std::optional<ProfileFacts> facts = describeProfile(*profile);
    ASSERT_TRUE(facts) << sample.file;
    EXPECT_EQ(facts->description, sample.description) << sample.file;
    EXPECT_EQ(facts->knownSpace, sample.expected) << sample.file;
  }
}

}  // namespace
}  // namespace quellor
