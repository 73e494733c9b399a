#include "platform/metadata/metadata_properties.h"

#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/byte_texts.h"
#include "tests/support/metadata_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using test_support::bytesOf;
using test_support::exifProperties;
using test_support::nested;
using test_support::propertiesOf;
using test_support::TiffStructure;
using test_support::valueOf;
using testing::Optional;
using Entry = TiffStructure::Entry;

PropertyDictionary tiffOf(const std::vector<Entry>& entries, bool bigEndian = true) {
  return nested(exifProperties(TiffStructure(bigEndian).directory(entries).bytes()), property_key::kTiff)
      .value_or(PropertyDictionary());
}

TEST(MetadataProperties, KeepTheTypeOfEveryTiffType) {
  const struct {
    std::uint16_t type;
    std::uint32_t count;
    Bytes bigEndian;
    PropertyValue value;
  } cases[] = {
      {1, 1, {200}, 200},
      {1, 4, {2, 3, 0, 0}, PropertyList{2, 3, 0, 0}},
      {2, 4, {'a', 'b', 'c', 0}, "abc"},
      {2, 3, {'a', 'b', 'c'}, "abc"},
      {2, 8, {'a', 0, 'c', 'd', 0, 0, 0, 0}, "a"},
      {2, 0, {}, ""},
      {3, 1, {0xFF, 0xFE}, 0xFFFE},
      {3, 2, {0, 1, 0, 2}, PropertyList{1, 2}},
      {4, 1, {0xFF, 0xFF, 0xFF, 0xFF}, std::uint32_t{0xFFFFFFFF}},
      {5, 1, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0}, Rational{0xFFFFFFFF, 0}},
      {6, 1, {0x80}, -128},
      {7, 1, {3}, Bytes{3}},
      {7, 4, {'0', '2', '3', '2'}, Bytes{'0', '2', '3', '2'}},
      {8, 1, {0xFF, 0xFE}, -2},
      {9, 1, {0x80, 0, 0, 0}, std::int64_t{-2147483648}},
      {10, 1, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 3}, Rational{-1, 3}},
      {11, 1, {0x3F, 0xC0, 0, 0}, 1.5},
      {12, 1, {0xC0, 4, 0, 0, 0, 0, 0, 0}, -2.5},
      {13, 1, {0, 0, 1, 0}, std::uint32_t{256}},
  };
  for (const auto& c : cases) {
    const PropertyDictionary tiff = tiffOf({{700, c.type, c.count, c.bigEndian}});
    EXPECT_THAT(valueOf(tiff, "700"), Optional(c.value)) << "type " << c.type << ", count " << c.count;
  }
}

TEST(MetadataProperties, DecodeTextAsUtf8WithLatin1ForTheRest) {
  const struct {
    const char* what;
    std::string stored;
    std::string text;
  } cases[] = {
      {"UTF-8", "Z\xC3\xBCrich \xF0\x9F\x93\xB7", "Z\xC3\xBCrich \xF0\x9F\x93\xB7"},
      {"Latin-1", "Z\xFCrich", "Z\xC3\xBCrich"},
      {"Latin-1 at the end", "caf\xE9", "caf\xC3\xA9"},
      {"overlong slash", "\xC0\xAF", "\xC3\x80\xC2\xAF"},
      {"overlong of three bytes", "\xE0\x80\xAF", "\xC3\xA0\xC2\x80\xC2\xAF"},
      {"surrogate", "\xED\xA0\x80", "\xC3\xAD\xC2\xA0\xC2\x80"},
      {"above U+10FFFF", "\xF4\x90\x80\x80", "\xC3\xB4\xC2\x90\xC2\x80\xC2\x80"},
      {"stray continuation", "a\x80z", "a\xC2\x80z"},
      {"sequence cut by ASCII", "\xE2\x82x", "\xC3\xA2\xC2\x82x"},
  };
  for (const auto& c : cases) {
    const PropertyDictionary tiff = tiffOf({TiffStructure::textEntry(271, c.stored)});
    EXPECT_THAT(valueOf(tiff, "Make"), Optional(PropertyValue(c.text))) << c.what;
  }
}

TEST(MetadataProperties, NameTagsByTheirDirectory) {
  TiffStructure structure(false);
  const std::vector<Entry> exif = {structure.rationalEntry(33434, 1, 60), structure.shortEntry(1, 7),
                                   structure.longEntry(0xA005, 8)};
  const std::uint32_t exifAt = 8 + TiffStructure::sizeOf({3, structure.longEntry(1, 0)});
  structure
      .directory({TiffStructure::textEntry(271, "abc"), structure.longEntry(0x8769, exifAt),
                  structure.longEntry(0x8825, exifAt + TiffStructure::sizeOf(exif))})
      .directory(exif)
      .directory({TiffStructure::textEntry(1, "N"), TiffStructure::textEntry(271, "x")});
  const PropertyDictionary properties = exifProperties(structure.bytes());

  PropertyDictionary tiffExpected;
  tiffExpected.set("Make", "abc");
  PropertyDictionary exifExpected;
  exifExpected.set("ExposureTime", Rational{1, 60});
  exifExpected.set("1", 7);
  PropertyDictionary gpsExpected;
  gpsExpected.set("LatitudeRef", "N");
  gpsExpected.set("271", "x");
  PropertyDictionary expected;
  expected.set("{TIFF}", tiffExpected);
  expected.set("{Exif}", exifExpected);
  expected.set("{GPS}", gpsExpected);
  EXPECT_EQ(properties, expected);
}

TEST(MetadataProperties, TakeTheFirstReadableOfARepeatedTag) {
  const TiffStructure structure(true);
  const PropertyDictionary tiff =
      tiffOf({{274, 99, 1, {0, 9}}, structure.shortEntry(274, 6), structure.shortEntry(274, 8)});
  EXPECT_THAT(valueOf(tiff, "Orientation"), Optional(PropertyValue(6)));
}

TEST(MetadataProperties, LeaveOutWhatIsUnreadable) {
  const TiffStructure structure(true);
  EXPECT_TRUE(exifProperties({}).empty());
  EXPECT_TRUE(exifProperties(bytesOf("Exif")).empty());
  EXPECT_TRUE(exifProperties(TiffStructure(true).directory({}).bytes()).empty());
  EXPECT_TRUE(exifProperties(TiffStructure(true).directory({{271, 2, 500, structure.number(8, 4)}}).bytes()).empty());
  EXPECT_TRUE(propertiesOf({{}, Bytes(), Bytes()}).empty());
}

TEST(MetadataProperties, TreatLongRunsOfBytesAsData) {
  const PropertyDictionary tiff = tiffOf({{40091, 1, 18, Bytes(18, 'x')}, {40092, 1, 16, Bytes(16, 1)}});
  EXPECT_THAT(valueOf(tiff, "40091"), Optional(PropertyValue(Bytes(18, 'x'))));
  EXPECT_THAT(valueOf(tiff, "40092"), Optional(PropertyValue(PropertyList(16, 1))));
}

TEST(MetadataProperties, DoNotMultiplyDataThatEntriesShare) {
  const TiffStructure numbers(true);
  std::vector<Entry> entries;
  for (std::uint16_t tag = 1000; tag < 3000; ++tag) entries.push_back({tag, 7, 20000, numbers.number(8, 4)});
  const Bytes block = TiffStructure(true).directory(entries).bytes();
  std::size_t total = 0;
  const auto tiff = nested(exifProperties(block), "{TIFF}");
  ASSERT_TRUE(tiff);
  for (const auto& [key, value] : tiff->entries()) {
    if (const Bytes* const bytes = value.as<Bytes>()) total += bytes->size();
  }
  EXPECT_GT(total, 0U);
  EXPECT_LE(total, block.size());
}

TEST(MetadataProperties, HoldTheXmpPacketAsItIs) {
  const Bytes packet = bytesOf("<x:xmpmeta/>");
  EXPECT_THAT(valueOf(propertiesOf({{}, packet, {}}), "{XMP}"), Optional(PropertyValue(packet)));
}

TEST(ExifOrientation, IsAnIntegerFrom1To8) {
  const TiffStructure numbers(false);
  const struct {
    Entry entry;
    std::optional<int> orientation;
  } cases[] = {
      {numbers.shortEntry(274, 1), 1},
      {numbers.shortEntry(274, 8), 8},
      {numbers.longEntry(274, 6), 6},
      {{274, 1, 1, {3}}, 3},
      {numbers.shortEntry(274, 0), std::nullopt},
      {numbers.shortEntry(274, 9), std::nullopt},
      {numbers.shortEntry(274, 256), std::nullopt},
      {{274, 3, 2, {6, 0, 6, 0}}, std::nullopt},
      {TiffStructure::textEntry(274, "6"), std::nullopt},
      {numbers.shortEntry(275, 6), std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(exifOrientation(TiffStructure(false).directory({c.entry}).bytes()), c.orientation)
        << c.entry.type << " " << int{c.entry.value[0]};
  }
  EXPECT_EQ(exifOrientation({}), std::nullopt);
}

TEST(ExifResolution, IsInPixelsPerInch) {
  const TiffStructure numbers(true);
  const Entry x = numbers.rationalEntry(282, 300, 1);
  const Entry y = numbers.rationalEntry(283, 1181, 10);
  const auto resolution = [](const std::vector<Entry>& entries) {
    return exifResolution(TiffStructure(true).directory(entries).bytes());
  };
  EXPECT_EQ(resolution({x, y, numbers.shortEntry(296, 2)}).dpiWidth, 300.0);
  EXPECT_EQ(resolution({x, y}).dpiHeight, 118.1);  // inch is the default
  EXPECT_NEAR(resolution({x, y, numbers.shortEntry(296, 3)}).dpiHeight.value(), 299.974, 1e-9);
  EXPECT_EQ(resolution({x, y, numbers.shortEntry(296, 1)}).dpiWidth, std::nullopt);
  EXPECT_EQ(resolution({x}).dpiHeight, std::nullopt);
  EXPECT_EQ(resolution({numbers.rationalEntry(282, 72, 0)}).dpiWidth, std::nullopt);
  EXPECT_EQ(resolution({numbers.rationalEntry(282, 0, 1)}).dpiWidth, std::nullopt);
}

}  // namespace
}  // namespace quellor
