#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/tiff_metadata_block.h"
#include "tests/support/metadata_reading.h"

// Expected values were read off an independent metadata reader.
namespace quellor {
namespace {

using test_support::exifProperties;
using test_support::nested;
using test_support::valueOf;
using testing::Optional;

std::optional<Bytes> sampleBytes(const std::string& name) {
  std::ifstream file(std::string(QUELLOR_SAMPLES) + "/" + name, std::ios::binary);
  if (!file) return std::nullopt;
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

/// The Exif block of the file's first APP1 segment that has one (Exif 2.32, 4.5.4).
std::optional<Bytes> exifSegment(const Bytes& jpeg) {
  constexpr std::string_view kPrefix("Exif\0\0", 6);
  for (std::size_t at = 2; at + 4 <= jpeg.size() && jpeg[at] == 0xFF;) {
    const std::size_t length = static_cast<std::size_t>(jpeg[at + 2] << 8 | jpeg[at + 3]);
    const std::size_t end = std::min(at + 2 + length, jpeg.size());
    const std::string content(jpeg.begin() + static_cast<std::ptrdiff_t>(std::min(at + 4, end)),
                              jpeg.begin() + static_cast<std::ptrdiff_t>(end));
    if (jpeg[at + 1] == 0xE1 && content.starts_with(kPrefix)) return Bytes(content.begin() + 6, content.end());
    at += 2 + length;
  }
  return std::nullopt;
}

struct Fact {
  const char* group;
  const char* key;
  PropertyValue value;
};

struct Sample {
  const char* name;
  /// Numbers of entries: {TIFF}, {Exif}, {GPS}.
  std::size_t tiff, exif, gps;
  const char* makerKey;
  std::size_t makerEntries;
  std::vector<Fact> facts;
};

void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.name; }

class MetadataSamples : public testing::TestWithParam<Sample> {};

TEST_P(MetadataSamples, AreReadCompletely) {
  const Sample& sample = GetParam();
  const auto jpeg = sampleBytes(sample.name);
  if (!jpeg) GTEST_SKIP() << "no samples";
  const auto exif = exifSegment(*jpeg);
  ASSERT_TRUE(exif);
  const PropertyDictionary properties = exifProperties(*exif);
  const auto size = [&properties](const char* key) {
    return nested(properties, key).value_or(PropertyDictionary()).size();
  };
  EXPECT_EQ(size("{TIFF}"), sample.tiff);
  EXPECT_EQ(size("{Exif}"), sample.exif);
  EXPECT_EQ(size("{GPS}"), sample.gps);
  if (sample.makerKey != nullptr) {
    EXPECT_EQ(size(sample.makerKey), sample.makerEntries);
  }
  for (const Fact& fact : sample.facts) {
    EXPECT_THAT(valueOf(properties, fact.group, fact.key), Optional(fact.value)) << fact.group << " " << fact.key;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Jpeg, MetadataSamples,
    testing::Values(Sample{"other/jpg_gps_DSCN0010.jpg",
                           10,
                           33,
                           10,
                           "{MakerNikon}",
                           35,
                           {{"{TIFF}", "Make", "NIKON"},
                            {"{TIFF}", "Software", "Nikon Transfer 1.1 W"},
                            {"{Exif}", "ExposureTime", Rational{4, 300}},
                            {"{Exif}", "PhotographicSensitivity", 64},
                            {"{Exif}", "PixelXDimension", std::uint32_t{640}},
                            {"{Exif}", "ExifVersion", Bytes{'0', '2', '2', '0'}},
                            {"{GPS}", "LatitudeRef", "N"},
                            {"{GPS}", "Latitude",
                             PropertyList{Rational{43, 1}, Rational{28, 1}, Rational{281400000, 100000000}}},
                            {"{GPS}", "AltitudeRef", 0},
                            {"{GPS}", "DateStamp", "2008:10:23"},
                            {"{MakerNikon}", "4", "FINE   "}}},
                    Sample{"other/jpg_Fujifilm_FinePix_E500.jpg",
                           11,
                           35,
                           0,
                           "{MakerFuji}",
                           21,
                           {{"{TIFF}", "Model", "FinePix E500   "},
                            {"{TIFF}", "Orientation", 1},
                            {"{Exif}", "FNumber", Rational{290, 100}},
                            {"{Exif}", "FileSource", Bytes{3}},
                            {"{MakerFuji}", "4096", "FINE   "},
                            {"{MakerFuji}", "4097", 3}}},
                    Sample{"other/jpg_Panasonic_DMC-FZ30.jpg",
                           10,
                           33,
                           0,
                           "{MakerPanasonic}",
                           30,
                           {{"{Exif}", "ComponentsConfiguration", Bytes{1, 2, 3, 0}}, {"{MakerPanasonic}", "1", 2}}},
                    Sample{"other/jpg_corrupted.jpg", 11, 30, 0, "{MakerOlympus}", 7, {{"{Exif}", "Saturation", 0}}},
                    Sample{"other/jpg_Canon_40D.jpg",
                           9,
                           29,
                           1,
                           nullptr,
                           0,
                           {{"{GPS}", "VersionID", PropertyList{2, 2, 0, 0}},
                            {"{Exif}", "SubSecTime", "00"},
                            {"{Exif}", "ShutterSpeedValue", Rational{483328, 65536}}}},
                    Sample{"other/jpg_mobile_jolla.jpg", 6, 15, 0, nullptr, 0, {{"{TIFF}", "Make", "Jolla"}}}));

TEST(MetadataSampleOrientation, IsTheOneOfTheFile) {
  const struct {
    const char* name;
    int orientation;
  } cases[] = {{"other/jpg_orientation_landscape_3.jpg", 3},
               {"other/jpg_orientation_landscape_6.jpg", 6},
               {"other/jpg_orientation_portrait_8.jpg", 8}};
  for (const auto& c : cases) {
    const auto jpeg = sampleBytes(c.name);
    if (!jpeg) GTEST_SKIP() << "no samples";
    const auto exif = exifSegment(*jpeg);
    ASSERT_TRUE(exif) << c.name;
    EXPECT_EQ(exifOrientation(*exif), c.orientation) << c.name;
    EXPECT_EQ(exifResolution(*exif).dpiWidth, 72.0) << c.name;
  }
}

TEST(MetadataSampleTiff, HasNothingButItsOrientation) {
  const auto tiff = sampleBytes("other/tiff_Jobagent.tiff");
  if (!tiff) GTEST_SKIP() << "no samples";
  const auto block = exifBlockFromTiff(*tiff);
  ASSERT_TRUE(block);
  PropertyDictionary orientation;
  orientation.set("Orientation", 1);
  PropertyDictionary expected;
  expected.set("{TIFF}", orientation);
  EXPECT_EQ(exifProperties(*block), expected);
}

}  // namespace
}  // namespace quellor
