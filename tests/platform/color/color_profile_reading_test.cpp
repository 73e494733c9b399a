#include <algorithm>
#include <array>
#include <chrono>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/color/profile_builder.h"
#include "platform/color/profile_reader.h"
#include "tests/platform/color/icc_bytes.h"

namespace quellor {
namespace {

using Name = std::optional<std::string>;
using namespace std::string_literals;

/// A usable profile with these tags besides.
Bytes greyProfile(std::vector<icc::Tag> tags, std::uint32_t version = 0x04300000) {
  tags.push_back({"kTRC", icc::gamma(1.8)});
  return icc::profile({"GRAY", "XYZ ", "mntr", version}, tags);
}

Name descriptionOf(const Bytes& profile) {
  const std::optional<ProfileFacts> facts = describeProfile(profile);
  EXPECT_TRUE(facts) << "not usable";
  return facts ? facts->description : std::nullopt;
}

TEST(DescriptionOfAProfile, IsEnglishElseTheFirst) {
  struct Case {
    std::vector<icc::Translation> translations;
    Name expected;
  };
  const std::vector<Case> cases{
      {{{"enUS", u"English"}}, "English"},
      {{{"deDE", u"Deutsch"}, {"enUS", u"English"}}, "English"},
      {{{"deDE", u"Deutsch"}, {"enGB", u"British"}, {"frFR", u"Français"}}, "British"},
      {{{"enGB", u"British"}, {"enUS", u"English"}}, "English"},
      {{{"deDE", u"Deutsch"}, {"frFR", u"Français"}}, "Deutsch"},
      {{{"frFR", u"Français"}},
       "Fran\xC3\xA7"
       "ais"},
      {{}, std::nullopt},
  };
  for (const Case& text : cases) {
    EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::multiLocalized(text.translations)}})), text.expected);
  }
}

TEST(DescriptionOfAProfile, IsCleanUtf8) {
  struct Case {
    std::u16string text;
    Name expected;
  };
  const std::vector<Case> cases{
      {u"\u00E9 \u20AC \u4E2D", "\xC3\xA9 \xE2\x82\xAC \xE4\xB8\xAD"},
      {u"\U0001F3A8", "\xF0\x9F\x8E\xA8"},
      {{u'a', 0xD83C, u'b'},
       "a\xEF\xBF\xBD"
       "b"},
      {{u'a', 0xDFA8, u'b'},
       "a\xEF\xBF\xBD"
       "b"},
      {{u'a', 0xD83C}, "a\xEF\xBF\xBD"},
      {{u'N', u'a', u'm', u'e', 0, 0, 0}, "Name"},
      {{u'N', u'a', u'm', u'e', 0, u'x'}, "Name"},
      {u"\r\nTwo\tparts\x7F\x85\n", "Twoparts"},
      {u" padded ", " padded "},
      {{0, 0}, std::nullopt},
      {u"\t  \n", std::nullopt},
      {u"", std::nullopt},
  };
  for (const Case& text : cases) {
    EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::multiLocalized({{"enUS", text.text}})}})), text.expected);
  }
}

TEST(DescriptionOfAProfile, OfVersion2IsItsAsciiText) {
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::asciiDescription("Plain text")}}, 0x02100000)), "Plain text");
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::asciiDescription("Caf\xE9")}}, 0x02100000)), "Caf\xC3\xA9");
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::asciiDescription("Padded\0\0\0"s)}}, 0x02100000)), "Padded");
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::asciiDescription("")}}, 0x02100000)), std::nullopt);
  Bytes plain = icc::typed("text");
  icc::append(plain, "Text type\0"s);
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", plain}}, 0x02100000)), "Text type");
}

TEST(DescriptionOfAProfile, OfVersion2IsItsUnicodeTextWhereTheAsciiOneIsEmpty) {
  Bytes description = icc::typed("desc");
  icc::append32(description, 1);
  description.push_back(0);
  icc::append32(description, 0);
  icc::append32(description, 3);
  for (const char16_t unit : u"\u4E2D\u6587") icc::append16(description, unit);
  description.resize(description.size() + 3 + 67);
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", description}}, 0x02100000)), "\xE4\xB8\xAD\xE6\x96\x87");
}

TEST(DescriptionOfAProfile, IsWhatThereIsOfATextThatReachesBeyondItsTag) {
  Bytes text = icc::multiLocalized({{"enUS", u"Name"}});
  icc::put32(text, 20, 0xFFFFFFFF);  // length
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", text}})), "Name");
  icc::put32(text, 24, 0xFFFFFFFE);  // offset
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", text}})), std::nullopt);
  text = icc::multiLocalized({{"enUS", u"Name"}});
  icc::put32(text, 8, 0xFFFFFFFF);  // count of languages
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", text}})), "Name");
  text = icc::asciiDescription("Name");
  icc::put32(text, 8, 0xFFFFFFFF);
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", text}}, 0x02100000)), "Name");
}

TEST(DescriptionOfAProfile, IsTakenFromTheMultilingualTagWhereTheUsualOneIsEmpty) {
  const icc::Tag multilingual{"dscm", icc::multiLocalized({{"deDE", u"Deutsch"}, {"enUS", u"English"}})};
  EXPECT_EQ(descriptionOf(greyProfile({multilingual}, 0x02100000)), "English");
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::asciiDescription("")}, multilingual}, 0x02100000)), "English");
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::asciiDescription("Own")}, multilingual}, 0x02100000)), "Own");
}

TEST(DescriptionOfAProfile, IsAbsentWithoutAReadableText) {
  EXPECT_EQ(descriptionOf(greyProfile({})), std::nullopt);
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::typed("mluc")}})), std::nullopt);
  EXPECT_EQ(descriptionOf(greyProfile({{"desc", icc::gamma(1)}})), std::nullopt);
}

struct ShapeCase {
  std::string_view space, connection, profileClass;
  std::vector<std::string_view> tags;
  std::optional<ColorModel> expected;
};

TEST(UsableProfile, LeadsFromAGreyRgbOrCmykSpaceToTheConnectionSpace) {
  const std::vector<std::string_view> matrix{"rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC", "bTRC"};
  const std::vector<ShapeCase> cases{
      {"GRAY", "XYZ ", "mntr", {"kTRC"}, ColorModel::grey},
      {"GRAY", "Lab ", "prtr", {"kTRC"}, ColorModel::grey},
      {"GRAY", "Lab ", "prtr", {"A2B0"}, ColorModel::grey},
      {"RGB ", "XYZ ", "scnr", matrix, ColorModel::rgb},
      {"RGB ", "Lab ", "spac", {"A2B1"}, ColorModel::rgb},
      {"RGB ", "XYZ ", "mntr", {"D2B0"}, ColorModel::rgb},
      {"CMYK", "Lab ", "prtr", {"A2B0"}, ColorModel::cmyk},
      {"GRAY", "XYZ ", "mntr", {}, std::nullopt},
      {"RGB ", "XYZ ", "mntr", {"kTRC"}, std::nullopt},
      {"RGB ", "XYZ ", "mntr", {"rXYZ", "gXYZ", "bXYZ", "rTRC", "gTRC"}, std::nullopt},
      {"RGB ", "Lab ", "mntr", matrix, std::nullopt},
      {"RGB ", "XYZ ", "link", matrix, std::nullopt},
      {"RGB ", "XYZ ", "abst", matrix, std::nullopt},
      {"RGB ", "XYZ ", "nmcl", matrix, std::nullopt},
      {"RGB ", "RGB ", "mntr", matrix, std::nullopt},
      {"CMYK", "Lab ", "prtr", {"B2A0"}, std::nullopt},
      {"Lab ", "Lab ", "spac", {"A2B0"}, std::nullopt},
      {"CMY ", "Lab ", "prtr", {"A2B0"}, std::nullopt},
      {"6CLR", "Lab ", "prtr", {"A2B0"}, std::nullopt},
      {"YCbr", "Lab ", "scnr", {"A2B0"}, std::nullopt},
  };
  for (const ShapeCase& shape : cases) {
    std::vector<icc::Tag> tags;
    for (const std::string_view tag : shape.tags) {
      const bool curve = tag.ends_with("TRC"), colorant = tag.ends_with("XYZ");
      tags.push_back({tag, curve ? icc::gamma(1.8) : colorant ? icc::xyz(0.3, 0.3, 0.3) : icc::typed("mft2")});
    }
    const std::optional<ProfileFacts> facts =
        describeProfile(icc::profile({shape.space, shape.connection, shape.profileClass}, tags));
    EXPECT_EQ(facts ? std::optional(facts->model) : std::nullopt, shape.expected)
        << shape.space << shape.profileClass << " with " << tags.size() << " tags";
  }
}

TEST(UsableProfile, IsWhole) {
  const std::optional<Bytes> profile = buildProfile("kCGColorSpaceSRGB");
  ASSERT_TRUE(profile);
  for (std::size_t length = 0; length < profile->size(); ++length) {
    EXPECT_FALSE(describeProfile(ByteView(*profile).first(length))) << length;
  }
  Bytes longer = *profile;
  longer.push_back(0);
  EXPECT_TRUE(describeProfile(longer)) << "bytes behind the profile do not matter";
  for (const std::uint32_t size : {0U, 127U, 131U, 521U, 0x80000000U, 0xFFFFFFFFU}) {
    Bytes wrong = *profile;
    icc::put32(wrong, 0, size);
    EXPECT_FALSE(describeProfile(wrong)) << size;
  }
}

TEST(UsableProfile, HasWhatItNeedsWithinTheSizeThatItStates) {
  const std::optional<Bytes> profile = buildProfile("kCGColorSpaceSRGB");
  ASSERT_TRUE(profile);
  // The curve is the last tag: without its end there is none.
  for (std::uint32_t size = 132; size < profile->size(); ++size) {
    Bytes shorter(profile->begin(), profile->begin() + size);
    icc::put32(shorter, 0, size);
    EXPECT_FALSE(describeProfile(shorter)) << size;
  }
}

TEST(UsableProfile, HasTheSignatureOfTheFormat) {
  std::optional<Bytes> profile = buildProfile("kCGColorSpaceSRGB");
  ASSERT_TRUE(profile);
  (*profile)[36] = 'A';
  EXPECT_FALSE(describeProfile(*profile));
}

/// Whether `text` is well-formed UTF-8 without control characters.
bool isCleanUtf8(const std::string& text) {
  std::size_t tail = 0;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    const bool continues = (byte & 0xC0) == 0x80;
    if (continues != (tail > 0) || byte < 0x20) return false;
    tail = continues ? tail - 1 : byte < 0x80 ? 0 : byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
  }
  return tail == 0;
}

TEST(DamagedProfile, NeverCrashesNorTakesLong) {
  const Bytes table =
      icc::profile({"RGB ", "XYZ ", "mntr", 0x02100000}, {{"desc", icc::asciiDescription("Version 2")},
                                                          {"rXYZ", icc::xyz(0.43607, 0.22249, 0.01392)},
                                                          {"gXYZ", icc::xyz(0.38515, 0.71687, 0.09708)},
                                                          {"bXYZ", icc::xyz(0.14307, 0.06061, 0.71410)},
                                                          {"rTRC", icc::table(26, [](double v) { return v * v; })},
                                                          {"gTRC", icc::gamma(2)},
                                                          {"bTRC", icc::parametric(4, {2, 1, 0, 1, 0.1, 0, 0})}});
  const Bytes texts = greyProfile({{"desc", icc::multiLocalized({{"deDE", u"Grün \U0001F3A8"}, {"enUS", u"Green"}})}});
  const std::optional<Bytes> built = buildProfile("kCGColorSpaceDisplayP3");
  ASSERT_TRUE(built);
  std::mt19937 random(20240607);
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  constexpr std::array<std::uint8_t, 6> kExtremes{0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF};
  const auto start = std::chrono::steady_clock::now();
  std::size_t usable = 0;
  for (int round = 0; round < 6'000; ++round) {
    Bytes profile = round % 3 == 0 ? table : round % 3 == 1 ? texts : *built;
    for (std::size_t changes = 1 + below(6); changes > 0; --changes) {
      profile[below(profile.size())] =
          below(2) == 0 ? kExtremes[below(kExtremes.size())] : static_cast<std::uint8_t>(below(256));
    }
    // The size and the signature are checked first; damage beyond them is the point.
    icc::put32(profile, 0, static_cast<std::uint32_t>(profile.size()));
    std::ranges::copy("acsp"s, profile.begin() + 36);
    const std::optional<ProfileFacts> facts = describeProfile(profile);
    if (facts) ++usable;
    ASSERT_TRUE(isCleanUtf8(facts && facts->description ? *facts->description : "")) << round;
  }
  EXPECT_GT(usable, 500U) << "the damage does not get past the header";
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

}  // namespace
}  // namespace quellor
