#include <array>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/color/profile_builder.h"
#include "platform/color/profile_reader.h"
#include "tests/platform/color/icc_bytes.h"
#include "tests/support/judges.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using Triple = std::array<double, 3>;
using Rows = std::array<Triple, 3>;

struct Point {
  double x;
  double y;
};

constexpr Point kD65{0.3127, 0.3290};
constexpr Triple kD50{0.9642, 1.0, 0.8249};

// The Bradford matrix and, as published beside it, its inverse.
constexpr Rows kBradford{{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
constexpr Rows kBradfordInverse{
    {{0.9869929, -0.1470543, 0.1599627}, {0.4323053, 0.5183603, 0.0492912}, {-0.0085287, 0.0400428, 0.9684867}}};

Triple transformed(const Rows& m, const Triple& v) {
  Triple result{};
  for (std::size_t i = 0; i < 3; ++i) result[i] = m[i][0] * v[0] + m[i][1] * v[1] + m[i][2] * v[2];
  return result;
}

Triple whiteXyz(const Point& white) { return {white.x / white.y, 1.0, (1 - white.x - white.y) / white.y}; }

/// A colour relative to D50 as it is relative to `white`.
Triple adaptedTo(const Point& white, const Triple& color) {
  const Triple from = transformed(kBradford, kD50);
  const Triple to = transformed(kBradford, whiteXyz(white));
  Triple cones = transformed(kBradford, color);
  for (std::size_t i = 0; i < 3; ++i) cones[i] *= to[i] / from[i];
  return transformed(kBradfordInverse, cones);
}

Point chromaticity(const Triple& color) {
  const double sum = color[0] + color[1] + color[2];
  return {color[0] / sum, color[1] / sum};
}

/// Linear light to coded value, the direction in which the standards give it.
using Encoding = std::function<double(double)>;

double encodeSrgb(double light) {
  return light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}
double encodeBt709(double light) { return light < 0.018 ? 4.5 * light : 1.099 * std::pow(light, 0.45) - 0.099; }
double encodeBt2020(double light) {
  return light < 0.018053968510807 ? 4.5 * light : 1.09929682680944 * std::pow(light, 0.45) - 0.09929682680944;
}
double encodeRomm(double light) { return light < 0.001953125 ? 16 * light : std::pow(light, 1 / 1.8); }
Encoding power(double exponent) {
  return [exponent](double light) { return std::pow(light, 1 / exponent); };
}

struct Gamut {
  Point red, green, blue, white;
};

constexpr Gamut kBt709{{.64, .33}, {.30, .60}, {.15, .06}, kD65};
constexpr Gamut kBt2020{{.708, .292}, {.170, .797}, {.131, .046}, kD65};
constexpr Gamut kDisplayP3{{.68, .32}, {.265, .69}, {.15, .06}, kD65};
constexpr Gamut kDciP3{{.68, .32}, {.265, .69}, {.15, .06}, {.314, .351}};
constexpr Gamut kAdobeRgb{{.64, .33}, {.21, .71}, {.15, .06}, kD65};
constexpr Gamut kRomm{{.7347, .2653}, {.1596, .8404}, {.0366, .0001}, {.3457, .3585}};
constexpr Gamut kNone{};  // grey

struct Standard {
  std::string name;
  std::string description;
  Gamut gamut;
  Encoding encode;
  /// Of the profile's bytes. A change means that a library or the program changed what callers compare.
  std::string sha256;

  [[nodiscard]] bool isRgb() const { return gamut.white.x > 0; }
};

void PrintTo(const Standard& standard, std::ostream* out) { *out << standard.name; }

const std::vector<Standard> kRgbStandards{
    {"kCGColorSpaceSRGB", "sRGB", kBt709, encodeSrgb,
     "de21ebbd7f346cf03d4d1a033da37bd48996c01413e8a14ac52f6bd05e42c75e"},
    {"kCGColorSpaceDisplayP3", "Display P3", kDisplayP3, encodeSrgb,
     "ad92bc7fb2cf2e1e26e87fbb0106a2bf61b94a30d73bb8f318d9713452a299d6"},
    {"kCGColorSpaceAdobeRGB1998", "Adobe RGB (1998)", kAdobeRgb, power(2.19921875),
     "9cb41d53de366469a19f6b22cfd2466f23c4dd3f1826bb0239fc294e59221680"},
    {"kCGColorSpaceDCIP3", "DCI-P3", kDciP3, power(2.6),
     "596525a283767944bcf47f393460ed58510f4269593e82f59747beec022d6a9e"},
    {"kCGColorSpaceITUR_709", "ITU-R BT.709", kBt709, encodeBt709,
     "89905562dd2800338763faec405a80ce39825db0ba34ff6a3f559097a6398697"},
    {"kCGColorSpaceITUR_2020", "ITU-R BT.2020", kBt2020, encodeBt2020,
     "fea1f93d138fba66b5ebc61f829c1de2bb3e1c0c9721e2213a2879b27bed807c"},
    {"kCGColorSpaceROMMRGB", "ROMM RGB", kRomm, encodeRomm,
     "95e4c91213b9cb937fdbc178598f7ccaa0126c48d3ac35fea699139893830502"},
    {"kCGColorSpaceLinearSRGB", "Linear sRGB", kBt709, power(1),
     "f04dde028b3f6b8e8e1ca088092328cbce91629fa96a36aeae269e6106671cd0"},
};

const std::vector<Standard> kGreyStandards{
    {"kCGColorSpaceGenericGrayGamma2_2", "Generic Gray Gamma 2.2", kNone, power(2.2),
     "7d4ee771330c3c49e7b19d9c3d41c2e01baad8697be10dddf549d008d3c52515"},
    {"kCGColorSpaceLinearGray", "Linear Gray", kNone, power(1),
     "52c1ac5c9e51691d420ce8977134183bba91da0d153a770c3905bb2a9d633d83"},
};

std::vector<Standard> allStandards() {
  std::vector<Standard> all = kRgbStandards;
  all.insert(all.end(), kGreyStandards.begin(), kGreyStandards.end());
  return all;
}

Triple readXyz(ByteView profile, std::string_view tag) {
  const std::optional<ByteView> data = icc::findTag(profile, tag);
  if (!data || data->size() < 20) return {};
  return {icc::readFixed(*data, 8), icc::readFixed(*data, 12), icc::readFixed(*data, 16)};
}

/// Evaluates a tag of parametricCurveType, function type 0 or 3.
double evaluate(ByteView curve, double value) {
  const bool pure = icc::read32(curve, 8) == 0;
  const auto parameter = [&](std::size_t i) { return icc::readFixed(curve, 12 + 4 * i); };
  if (pure) return std::pow(value, parameter(0));
  return value >= parameter(4) ? std::pow(parameter(1) * value + parameter(2), parameter(0)) : parameter(3) * value;
}

/// What a digest command says of the bytes, or empty when it is not installed.
std::string digest(const std::string& command, const Bytes& bytes) {
  const test_support::TemporaryDirectory directory;
  const auto path = directory.write("profile.icc", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((command + " " + path.string() + " 2>&1").c_str(), "r"),
                                                   [](FILE* stream) { return pclose(stream); });
  std::array<char, 200> line{};
  if (!pipe || std::fgets(line.data(), line.size(), pipe.get()) == nullptr) return {};
  const std::string text(line.data());
  return text.find(path.string()) == std::string::npos ? std::string() : text.substr(0, text.find(' '));
}

class BuiltProfile : public testing::TestWithParam<Standard> {
 protected:
  void SetUp() override {
    const std::optional<Bytes> built = buildProfile(GetParam().name);
    ASSERT_TRUE(built);
    profile = *built;
  }
  Bytes profile;
};

class BuiltRgbProfile : public BuiltProfile {};

TEST_P(BuiltRgbProfile, HasThePrimariesAndTheWhiteOfItsStandard) {
  const std::array<std::pair<std::string_view, Point>, 3> primaries{
      {{"rXYZ", GetParam().gamut.red}, {"gXYZ", GetParam().gamut.green}, {"bXYZ", GetParam().gamut.blue}}};
  Triple sum{};
  for (const auto& [tag, expected] : primaries) {
    const Triple colorant = readXyz(profile, tag);
    const Point point = chromaticity(adaptedTo(GetParam().gamut.white, colorant));
    EXPECT_NEAR(point.x, expected.x, 1e-4) << tag;
    EXPECT_NEAR(point.y, expected.y, 1e-4) << tag;
    for (std::size_t i = 0; i < 3; ++i) sum[i] += colorant[i];
  }
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(sum[i], kD50[i], 3e-5) << "all three together are not D50";
}

TEST_P(BuiltRgbProfile, StatesTheAdaptationFromItsWhiteToD50) {
  const std::optional<ByteView> tag = icc::findTag(profile, "chad");
  ASSERT_TRUE(tag && tag->size() == 44);
  Rows rows{};
  for (std::size_t i = 0; i < 9; ++i) rows[i / 3][i % 3] = icc::readFixed(*tag, 8 + 4 * i);
  const Triple white = transformed(rows, whiteXyz(GetParam().gamut.white));
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(white[i], kD50[i], 5e-5);
}

TEST_P(BuiltRgbProfile, HasTheSameCurveForAllComponents) {
  const auto red = icc::findTag(profile, "rTRC"), green = icc::findTag(profile, "gTRC"),
             blue = icc::findTag(profile, "bTRC");
  ASSERT_TRUE(red && green && blue);
  EXPECT_TRUE(std::ranges::equal(*red, *green));
  EXPECT_TRUE(std::ranges::equal(*red, *blue));
}

INSTANTIATE_TEST_SUITE_P(Spaces, BuiltRgbProfile, testing::ValuesIn(kRgbStandards),
                         [](const auto& test) { return test.param.name; });

class AnyBuiltProfile : public BuiltProfile {};

TEST_P(AnyBuiltProfile, UndoesTheEncodingOfItsStandard) {
  const auto curve = icc::findTag(profile, GetParam().isRgb() ? "rTRC" : "kTRC");
  ASSERT_TRUE(curve && icc::read32(*curve, 0) == 0x70617261) << "not parametric";
  for (int i = 0; i <= 1000; ++i) {
    const double light = i / 1000.0;
    // The standards' rounded constants leave gaps of up to 1e-4 where the two pieces meet.
    EXPECT_NEAR(evaluate(*curve, GetParam().encode(light)), light, 1e-4) << light;
  }
}

TEST_P(AnyBuiltProfile, HasAHeaderWithoutTimeAndSoftware) {
  const auto text = [&](std::size_t offset) {
    return std::string(reinterpret_cast<const char*>(profile.data()) + offset, 4);
  };
  EXPECT_EQ(icc::read32(profile, 0), profile.size());
  EXPECT_EQ(icc::read32(profile, 4), 0U) << "preferred CMM";
  EXPECT_EQ(icc::read32(profile, 8), 0x04300000U) << "version";
  EXPECT_EQ(text(12), "mntr");
  EXPECT_EQ(text(16), GetParam().isRgb() ? "RGB " : "GRAY");
  EXPECT_EQ(text(20), "XYZ ");
  EXPECT_EQ(icc::read32(profile, 24), 2020U << 16 | 1U) << "year and month";
  EXPECT_EQ(icc::read32(profile, 28), 1U << 16) << "day and hour";
  EXPECT_EQ(icc::read32(profile, 32), 0U) << "minute and second";
  EXPECT_EQ(text(36), "acsp");
  for (std::size_t offset = 40; offset < 68; offset += 4) EXPECT_EQ(icc::read32(profile, offset), 0U) << offset;
  EXPECT_EQ(icc::read32(profile, 80), 0U) << "creator";
  for (std::size_t offset = 100; offset < 128; offset += 4) EXPECT_EQ(icc::read32(profile, offset), 0U) << offset;
}

TEST_P(AnyBuiltProfile, HasTheTagsThatTheStandardRequires) {
  for (const std::string_view tag : {"desc", "cprt", "wtpt"}) EXPECT_TRUE(icc::findTag(profile, tag)) << tag;
  const Triple white = readXyz(profile, "wtpt");
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(white[i], kD50[i], 1e-5);
}

TEST_P(AnyBuiltProfile, HasItsDigestAsProfileId) {
  Bytes cleared = profile;
  for (std::size_t i = 84; i < 100; ++i) cleared[i] = 0;
  if (!test_support::requireJudge("md5sum")) return;
  const std::string expected = digest("md5sum", cleared);
  std::string id;
  for (std::size_t i = 84; i < 100; ++i) {
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", unsigned{profile[i]});
    id += digits.data();
  }
  EXPECT_EQ(id, expected);
}

TEST_P(AnyBuiltProfile, HasTheBytesThatItAlwaysHad) {
  EXPECT_EQ(buildProfile(GetParam().name), profile);
  if (!test_support::requireJudge("sha256sum")) return;
  const std::string actual = digest("sha256sum", profile);
  EXPECT_EQ(actual, GetParam().sha256);
}

TEST_P(AnyBuiltProfile, IsRecognisedAsItsOwnSpace) {
  const std::optional<ProfileFacts> facts = describeProfile(profile);
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->knownSpace, GetParam().name);
  EXPECT_EQ(facts->description, GetParam().description);
  EXPECT_EQ(facts->model, GetParam().isRgb() ? ColorModel::rgb : ColorModel::grey);
}

INSTANTIATE_TEST_SUITE_P(Spaces, AnyBuiltProfile, testing::ValuesIn(allStandards()),
                         [](const auto& test) { return test.param.name; });

TEST(BuiltProfiles, HaveTheColorantsThatArePublishedForTheirSpaces) {
  struct Published {
    std::string name;
    std::array<Triple, 3> colorants;
  };
  const std::vector<Published> published{
      {"kCGColorSpaceSRGB", {{{0.43607, 0.22249, 0.01392}, {0.38515, 0.71687, 0.09708}, {0.14307, 0.06061, 0.71410}}}},
      {"kCGColorSpaceAdobeRGB1998",
       {{{0.60974, 0.31111, 0.01947}, {0.20528, 0.62567, 0.06087}, {0.14919, 0.06322, 0.74457}}}},
      {"kCGColorSpaceDisplayP3",
       {{{0.51512, 0.24120, -0.00105}, {0.29198, 0.69225, 0.04189}, {0.15710, 0.06657, 0.78407}}}},
      {"kCGColorSpaceROMMRGB", {{{0.7977, 0.2880, 0}, {0.1352, 0.7119, 0}, {0.0313, 0.0001, 0.8249}}}},
  };
  for (const Published& expected : published) {
    const std::optional<Bytes> profile = buildProfile(expected.name);
    ASSERT_TRUE(profile) << expected.name;
    constexpr std::array<std::string_view, 3> kTags{"rXYZ", "gXYZ", "bXYZ"};
    for (std::size_t tag = 0; tag < 3; ++tag) {
      const Triple colorant = readXyz(*profile, kTags[tag]);
      for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(colorant[i], expected.colorants[tag][i], 2.5e-4) << expected.name;
    }
  }
}

TEST(BuiltProfiles, DoNotExistForOtherSpaces) {
  for (const std::string name :
       {"kCGColorSpaceITUR_2100_PQ", "kCGColorSpaceITUR_2100_HLG", "kCGColorSpaceDisplayP3_PQ",
        "kCGColorSpaceDisplayP3_HLG", "kCGColorSpaceGenericCMYK", "kCGColorSpaceSRGB ", "sRGB", ""}) {
    EXPECT_EQ(buildProfile(name), std::nullopt) << name;
  }
}

}  // namespace
}  // namespace quellor
