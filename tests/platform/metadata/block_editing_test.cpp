#include "platform/metadata/block_editing.h"

#include <algorithm>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/metadata/exif_editor.h"
#include "tests/support/byte_texts.h"
#include "tests/support/exif_reading.h"
#include "tests/support/metadata_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using test_support::bytesOf;
using test_support::entriesOf;
using test_support::ExifEntry;
using test_support::exifProperties;
using test_support::keysOf;
using test_support::orientationOf;
using test_support::textOf;
using test_support::TiffStructure;
using Entry = TiffStructure::Entry;

constexpr std::string_view kPacket =
    "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><r:Description xmlns:o='urn:other' "
    "xmlns:exif='http://ns.adobe.com/exif/1.0/' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
    "exif:GPSLatitude='52,31.2N' tiff:Make='Maker Inc' tiff:Model='Model One' exif:MakerNote='note' o:other='kept' "
    "tiff:Orientation='3'/></r:RDF>";

constexpr MetadataRemovals kNothing{};
constexpr MetadataRemovals kPosition{.position = true};
constexpr MetadataRemovals kCamera{.make = true, .model = true, .makerNote = true};
constexpr MetadataRemovals kThePacket{.packet = true};

MetadataBlocks edited(const MetadataBlocks& blocks, const MetadataRemovals& removals,
                      std::optional<int> orientation = {}) {
  return editedBlocks(blocks, removals, orientation);
}

bool holds(const std::optional<Bytes>& block, std::string_view text) {
  return block && std::search(block->begin(), block->end(), text.begin(), text.end()) != block->end();
}

Entry packetEntry() { return {700, 1, static_cast<std::uint32_t>(kPacket.size()), bytesOf(kPacket)}; }

/// A block with these entries in the first directory, and with Make, Model, a note by Sigma and a GPS position.
Bytes photoBlock(const std::vector<Entry>& more = {}) {
  TiffStructure s(true);
  std::vector<Entry> first = {TiffStructure::textEntry(271, "Maker Inc"), TiffStructure::textEntry(272, "Model One")};
  first.insert(first.end(), more.begin(), more.end());
  first.push_back(s.longEntry(34665, 0));
  first.push_back(s.longEntry(34853, 0));
  const std::vector<Entry> exif = {
      s.rationalEntry(33434, 1, 125),
      TiffStructure::undefinedEntry(37500, bytesOf(std::string_view("SIGMA\0\0\0\1\0\0\0 and more", 21)))};
  const std::vector<Entry> gps = {TiffStructure::textEntry(1, "N"), s.rationalEntry(2, 5231, 100)};
  const std::uint32_t exifAt = s.end() + TiffStructure::sizeOf(first);
  first[first.size() - 2] = s.longEntry(34665, exifAt);
  first.back() = s.longEntry(34853, exifAt + TiffStructure::sizeOf(exif));
  return s.directory(first).directory(exif).directory(gps).bytes();
}

TEST(BlockEditing, KeepsTheBytesWhereNothingIsRemoved) {
  const MetadataBlocks blocks{photoBlock(), bytesOf(kPacket), bytesOf("\x1C\2\5")};
  const MetadataBlocks after = edited(blocks, kNothing);
  EXPECT_EQ(after.exif, blocks.exif);
  EXPECT_EQ(after.xmp, blocks.xmp);
  EXPECT_EQ(after.iptc, std::nullopt) << "it has no home in the written file";
}

TEST(BlockEditing, RemovesThePositionFromBothBlocks) {
  const MetadataBlocks after = edited({photoBlock(), bytesOf(kPacket), {}}, kPosition);
  ASSERT_TRUE(after.exif);
  EXPECT_EQ(keysOf(exifProperties(*after.exif)),
            "{Exif} {Exif}/MakerNote {MakerSigma} {TIFF} {TIFF}/Make {TIFF}/Model");
  EXPECT_FALSE(holds(after.exif, std::string_view("\0\0\x14\x6F\0\0\0\x64", 8)));
  EXPECT_FALSE(holds(after.xmp, "52,31.2N"));
  EXPECT_TRUE(holds(after.xmp, "Maker Inc"));
  EXPECT_EQ(textOf(*after.exif, 271), "Maker Inc");
}

TEST(BlockEditing, RemovesMakerEntriesFromBothBlocks) {
  const MetadataBlocks after = edited({photoBlock(), bytesOf(kPacket), {}}, kCamera);
  ASSERT_TRUE(after.exif);
  for (const char* const gone : {"Maker Inc", "Model One", "SIGMA"}) EXPECT_FALSE(holds(after.exif, gone)) << gone;
  for (const char* const gone : {"Maker Inc", "Model One", "note"}) EXPECT_FALSE(holds(after.xmp, gone)) << gone;
  EXPECT_TRUE(holds(after.xmp, "52,31.2N"));
  auto expected = entriesOf(photoBlock());
  std::erase_if(expected,
                [](const ExifEntry& entry) { return entry.tag == 271 || entry.tag == 272 || entry.tag == 37500; });
  EXPECT_EQ(entriesOf(*after.exif), expected);
}

TEST(BlockEditing, RemovesThePacketAndItsCopyInTheExifBlock) {
  const MetadataBlocks after = edited({photoBlock({packetEntry()}), bytesOf(kPacket), {}}, kThePacket);
  EXPECT_EQ(after.xmp, std::nullopt);
  EXPECT_FALSE(holds(after.exif, "52,31.2N"));
  EXPECT_TRUE(holds(after.exif, "Maker Inc"));
}

TEST(BlockEditing, KeepsAPacketInTheExifBlockOnlyAsItIs) {
  const MetadataBlocks blocks{photoBlock({packetEntry()}), {}, {}};
  EXPECT_TRUE(holds(edited(blocks, kNothing).exif, kPacket));
  EXPECT_FALSE(holds(edited(blocks, kPosition).exif, "52,31.2N"));
  EXPECT_FALSE(holds(edited(blocks, kNothing, 6).exif, "tiff:Orientation"));
}

TEST(BlockEditing, KeepsSeveralPacketsInTheExifBlockOnlyWhereNothingIsRemoved) {
  const MetadataBlocks blocks{photoBlock({packetEntry(), packetEntry()}), {}, {}};
  EXPECT_TRUE(holds(edited(blocks, kNothing).exif, kPacket));
  for (const MetadataRemovals& removals : {kPosition, kCamera, kThePacket}) {
    EXPECT_FALSE(holds(edited(blocks, removals).exif, "52,31.2N"));
  }
}

TEST(BlockEditing, LooksIntoNoMoreThanOneOfThousandsThatShareTheirBytes) {
  // Each looked into for itself, these would cost the square of what the block has bytes.
  const TiffStructure n(true);
  std::vector<Entry> first(20'000, {700, 1, 400'000, n.number(8, 4)});
  const std::uint32_t exifAt = 8 + TiffStructure::sizeOf(first) + 12;
  first.push_back(n.longEntry(34665, exifAt));
  const std::vector<Entry> exif(20'000, {37500, 7, 400'000, n.number(8, 4)});
  const Bytes block = TiffStructure(true).directory(first).directory(exif).bytes();
  EXPECT_EQ(edited({block, {}, {}}, kPosition).exif, std::nullopt) << "packets go and notes stay in the same bytes";
  EXPECT_EQ(keysOf(exifProperties(block)), "{Exif} {Exif}/MakerNote {TIFF}");
}

TEST(BlockEditing, WritesTheOrientation) {
  const TiffStructure s(true);
  for (const auto& more : {std::vector<Entry>{}, std::vector<Entry>{s.shortEntry(274, 3)}}) {
    const MetadataBlocks after = edited({photoBlock(more), bytesOf(kPacket), {}}, kNothing, 6);
    ASSERT_TRUE(after.exif);
    EXPECT_EQ(orientationOf(*after.exif), 6);
    EXPECT_TRUE(holds(after.xmp, "tiff:Orientation=\"6\""));
    EXPECT_EQ(keysOf(exifProperties(*after.exif)), keysOf(exifProperties(photoBlock(more))));
  }
}

TEST(BlockEditing, WritesTheOrientationAloneWhereThereIsNoBlock) {
  EXPECT_EQ(edited({}, kNothing).exif, std::nullopt);
  EXPECT_EQ(edited({}, kNothing, 6).exif, metadata::exifOrientationBlock(6));
  EXPECT_EQ(edited({bytesOf("II*\0 no block"), {}, {}}, kPosition, 6).exif, metadata::exifOrientationBlock(6));
}

TEST(BlockEditing, KeepsAPacketThatCannotBeEditedOnlyWhereNothingIsRemovedFromIt) {
  const Bytes broken = bytesOf("<x exif:GPSLatitude='52,31.2N'");
  EXPECT_EQ(edited({{}, broken, {}}, kNothing).xmp, broken);
  EXPECT_EQ(edited({{}, broken, {}}, kNothing, 6).xmp, broken);
  EXPECT_EQ(edited({{}, broken, {}}, kPosition).xmp, std::nullopt);
  EXPECT_EQ(edited({{}, broken, {}}, kCamera).xmp, std::nullopt);
}

TEST(BlockEditing, DropsAnExifBlockThatCannotBeRead) {
  const Bytes cases[] = {
      bytesOf("II*\0 nothing that could be read"), bytesOf("Exif\0\0II*"), {'I', 'I', 43, 0}, {'M', 'M'}};
  for (const Bytes& broken : cases) EXPECT_EQ(edited({broken, {}, {}}, kNothing).exif, std::nullopt);
}

TEST(BlockEditing, LeavesOutABlockWhosePartsOverlapSoThatAnEditWouldDamageIt) {
  TiffStructure s(true);
  // The value of Software lies in its own entry, which moves up when Make goes.
  const Bytes block = s.directory({TiffStructure::textEntry(271, "Maker Inc"),
                                   {305, 2, 6, s.number(8 + 2 + 12, 4)},
                                   {315, 2, 4, bytesOf("abc")}})
                          .bytes();
  EXPECT_EQ(edited({block, {}, {}}, kNothing).exif, block);
  EXPECT_EQ(edited({block, {}, {}}, kCamera).exif, std::nullopt);
}

TEST(MetadataRemovals, AreTheMarksOfADictionaryWhetherOrNotItHeldAnything) {
  const auto marked = [](auto&& remove) {
    PropertyDictionary properties;
    remove(properties);
    return removalsOf(properties);
  };
  EXPECT_FALSE(marked([](PropertyDictionary&) {}).inside());
  EXPECT_TRUE(marked([](PropertyDictionary& p) { p.remove("{GPS}"); }).position);
  EXPECT_TRUE(marked([](PropertyDictionary& p) { p.removeNested("{TIFF}", "Make"); }).make);
  EXPECT_TRUE(marked([](PropertyDictionary& p) { p.removeNested("{TIFF}", "Model"); }).model);
  EXPECT_TRUE(marked([](PropertyDictionary& p) { p.removeNested("{Exif}", "MakerNote"); }).makerNote);
  EXPECT_TRUE(marked([](PropertyDictionary& p) { p.remove("{MakerCanon}"); }).makerNote);
  EXPECT_TRUE(marked([](PropertyDictionary& p) { p.remove("{XMP}"); }).packet);
  const MetadataRemovals tiff = marked([](PropertyDictionary& p) { p.remove("{TIFF}"); });
  EXPECT_TRUE(tiff.make && tiff.model && !tiff.makerNote && !tiff.position);
  const MetadataRemovals again = marked([](PropertyDictionary& p) {
    p.remove("{GPS}");
    p.set("{GPS}", PropertyDictionary{});
  });
  EXPECT_FALSE(again.position) << "it was set again";
}

}  // namespace
}  // namespace quellor
