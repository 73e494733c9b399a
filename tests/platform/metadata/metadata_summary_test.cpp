#include "platform/metadata/metadata_summary.h"

#include <bit>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/byte_texts.h"
#include "tests/support/metadata_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using test_support::bytesOf;
using test_support::exifProperties;
using test_support::keysOf;
using test_support::propertiesOf;
using test_support::TiffStructure;
using Entry = TiffStructure::Entry;

MetadataSummary summaryOfExif(const Bytes& block) { return quellor::summaryOf({block, std::nullopt, std::nullopt}); }

MetadataSummary summaryOf(const std::vector<Entry>& entries, bool bigEndian = true) {
  return summaryOfExif(TiffStructure(bigEndian).directory(entries).bytes());
}

TEST(ExifProperties, HaveADictionaryForEachDirectoryWithAReadableEntry) {
  TiffStructure s(false);
  const std::vector<Entry> exif = {s.rationalEntry(33434, 1, 60), s.longEntry(0xA005, 8)};
  std::vector<Entry> first = {TiffStructure::textEntry(271, "abc"), s.longEntry(0x8769, 0), s.longEntry(0x8825, 0)};
  const std::uint32_t exifAt = 8 + TiffStructure::sizeOf(first);
  first[1] = s.longEntry(0x8769, exifAt);
  first[2] = s.longEntry(0x8825, exifAt + TiffStructure::sizeOf(exif));
  const Bytes block = s.directory(first).directory(exif).directory({TiffStructure::textEntry(1, "N")}).bytes();
  EXPECT_EQ(keysOf(exifProperties(block)), "{Exif} {GPS} {TIFF} {TIFF}/Make");
}

TEST(ExifProperties, NameWhatARemovalMayAskFor) {
  const TiffStructure s(true);
  const std::uint32_t exifAt =
      8 + TiffStructure::sizeOf({TiffStructure::textEntry(272, "Model One"), s.longEntry(0x8769, 0)});
  const Bytes block = TiffStructure(true)
                          .directory({TiffStructure::textEntry(272, "Model One"), s.longEntry(0x8769, exifAt)})
                          .directory({TiffStructure::undefinedEntry(37500, bytesOf("of a maker that nobody knows"))})
                          .bytes();
  EXPECT_EQ(keysOf(exifProperties(block)), "{Exif} {Exif}/MakerNote {TIFF} {TIFF}/Model");
}

TEST(ExifProperties, FollowPointersOfEveryIntegerTypeToTheFirstThatLeadsSomewhere) {
  const std::uint16_t types[] = {1, 3, 4, 8, 9, 13};
  const std::size_t sizes[] = {1, 2, 4, 2, 4, 4};
  for (std::size_t i = 0; i < std::size(types); ++i) {
    TiffStructure s(true);
    std::vector<Entry> first = {s.longEntry(34853, 0xFFFFFF), {34853, types[i], 1, Bytes(4)}};
    first[1].value = s.number(8 + TiffStructure::sizeOf(first), sizes[i]);
    const Bytes block = s.directory(first).directory({TiffStructure::textEntry(1, "N")}).bytes();
    EXPECT_EQ(keysOf(exifProperties(block)), "{GPS}") << "type " << types[i];
  }
}

TEST(ExifProperties, TellWhetherTheBlockContributedAnything) {
  const TiffStructure s(true);
  const struct {
    const char* what;
    Bytes block;
    bool contributed;
  } cases[] = {
      {"one entry", TiffStructure(true).directory({s.shortEntry(305, 1)}).bytes(), true},
      {"no bytes", {}, false},
      {"a prefix of JPEG files", bytesOf("Exif"), false},
      {"a header alone", TiffStructure(true).bytes(), false},
      {"a first directory outside", TiffStructure(true, 5000).directory({s.shortEntry(305, 1)}).bytes(), false},
      {"no entries", TiffStructure(true).directory({}).bytes(), false},
      {"a value outside", TiffStructure(true).directory({{271, 2, 500, s.number(8, 4)}}).bytes(), false},
      {"a pointer that leads nowhere", TiffStructure(true).directory({s.longEntry(34853, 5000)}).bytes(), false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(summaryOfExif(c.block).exifReadable, c.contributed) << c.what;
    EXPECT_EQ(exifProperties(c.block).empty(), !c.contributed) << c.what;
  }
}

TEST(ExifOrientation, IsAnIntegerFrom1To8) {
  const TiffStructure n(false);
  const struct {
    Entry entry;
    std::optional<int> orientation;
  } cases[] = {
      {n.shortEntry(274, 1), 1},
      {n.shortEntry(274, 8), 8},
      {n.longEntry(274, 6), 6},
      {{274, 1, 1, {3}}, 3},
      {{274, 6, 1, {3}}, 3},
      {{274, 8, 1, {5, 0}}, 5},
      {{274, 9, 1, {5, 0, 0, 0}}, 5},
      {{274, 13, 1, {5, 0, 0, 0}}, 5},
      {{274, 16, 1, {5, 0, 0, 0, 0, 0, 0, 0}}, 5},
      {{274, 16, 1, {5, 0, 0, 0, 1, 0, 0, 0}}, std::nullopt},
      {{274, 9, 1, {0xFB, 0xFF, 0xFF, 0xFF}}, std::nullopt},
      {n.shortEntry(274, 0), std::nullopt},
      {n.shortEntry(274, 9), std::nullopt},
      {n.shortEntry(274, 256), std::nullopt},
      {{274, 3, 2, {6, 0, 6, 0}}, std::nullopt},
      {TiffStructure::textEntry(274, "6"), std::nullopt},
      {n.shortEntry(275, 6), std::nullopt},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(summaryOf({c.entry}, false).orientation, c.orientation) << c.entry.type << " " << int{c.entry.value[0]};
  }
  const std::vector<Entry> repeated = {
      {274, 99, 1, {0, 9}}, TiffStructure(true).shortEntry(274, 6), TiffStructure(true).shortEntry(274, 8)};
  EXPECT_EQ(summaryOf(repeated).orientation, 6) << "the first readable one counts";
}

TEST(ExifResolution, IsInPixelsPerInch) {
  const TiffStructure n(true);
  const Entry x = n.rationalEntry(282, 300, 1);
  const Entry y = n.rationalEntry(283, 1181, 10);
  EXPECT_EQ(summaryOf({x, y, n.shortEntry(296, 2)}).dpiWidth, 300.0);
  EXPECT_EQ(summaryOf({x, y}).dpiHeight, 118.1) << "inch is the default";
  EXPECT_NEAR(summaryOf({x, y, n.shortEntry(296, 3)}).dpiHeight.value(), 299.974, 1e-9);
  EXPECT_EQ(summaryOf({n.shortEntry(282, 72)}).dpiWidth, 72.0);
  EXPECT_EQ(summaryOf({{282, 11, 1, n.number(std::bit_cast<std::uint32_t>(96.0F), 4)}}).dpiWidth, 96.0);
  EXPECT_EQ(summaryOf({x, y, n.shortEntry(296, 1)}).dpiWidth, std::nullopt);
  EXPECT_EQ(summaryOf({x}).dpiHeight, std::nullopt);
  EXPECT_EQ(summaryOf({n.rationalEntry(282, 72, 0)}).dpiWidth, std::nullopt);
  EXPECT_EQ(summaryOf({n.rationalEntry(282, 0, 1)}).dpiWidth, std::nullopt);
  EXPECT_EQ(summaryOf({{282, 10, 1, n.number(0xFFFFFFB800000001, 8)}}).dpiWidth, std::nullopt) << "-72";
}

TEST(IptcProperties, AreThereWithACompleteDataset) {
  const struct {
    Bytes iptc;
    const char* keys;
  } cases[] = {
      {{0x1C, 2, 5, 0, 1, 'a'}, "{IPTC}"},
      {{0x1C, 2, 5, 0, 1, 'a', 0, 0}, "{IPTC}"},
      {{0x1C, 2, 120, 0x80, 4, 0, 0, 0, 3, 'c', 'a', 'p'}, "{IPTC}"},
      {{}, ""},
      {{0x1C, 2, 90, 0}, ""},
      {{0x1C, 2, 90, 0, 2, 'x'}, ""},
      {{0x1C, 2, 90, 0x80, 5, 0, 0, 0, 0, 1, 'x'}, ""},
      {{0x1C, 2, 90, 0x80, 4, 0xFF, 0xFF, 0xFF, 0xFF, 'x'}, ""},
      {{0x1D, 2, 90, 0, 1, 'x'}, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(keysOf(propertiesOf({{}, {}, c.iptc})), c.keys);
}

TEST(PacketProperties, NameWhatOnlyThePacketHas) {
  const auto packet = [](const std::string& property) {
    return bytesOf("<x xmlns:exif='http://ns.adobe.com/exif/1.0/' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' " +
                   property + "/>");
  };
  const struct {
    const char* property;
    const char* keys;
  } cases[] = {
      {"exif:GPSLatitude='1'", "{GPS} {XMP}"},
      {"tiff:Make='1'", "{TIFF} {TIFF}/Make {XMP}"},
      {"tiff:Model='1'", "{TIFF} {TIFF}/Model {XMP}"},
      {"exif:MakerNote='1'", "{Exif} {Exif}/MakerNote {XMP}"},
      {"exif:FNumber='1'", "{XMP}"},
  };
  for (const auto& c : cases) EXPECT_EQ(keysOf(propertiesOf({{}, packet(c.property), {}})), c.keys);
  EXPECT_EQ(keysOf(propertiesOf({{}, bytesOf("no XML"), {}})), "{XMP}");
  EXPECT_EQ(keysOf(propertiesOf({{}, Bytes(), {}})), "");
}

TEST(PacketProperties, LeaveTheExifBlocksOwnDictionariesAsTheyAre) {
  const Bytes block = TiffStructure(true).directory({TiffStructure::textEntry(271, "Maker Inc")}).bytes();
  const Bytes packet = bytesOf("<x xmlns:tiff='http://ns.adobe.com/tiff/1.0/' tiff:Make='1' tiff:Model='1'/>");
  EXPECT_EQ(keysOf(propertiesOf({block, packet, {}})), "{TIFF} {TIFF}/Make {TIFF}/Model {XMP}");
}

}  // namespace
}  // namespace quellor
