#include "platform/metadata/block_editing.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/exif_editor.h"
#include "platform/module.h"
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

constexpr std::string_view kPacket =
    "<x xmlns:exif='http://ns.adobe.com/exif/1.0/' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
    "exif:GPSLatitude='52,31.2N' tiff:Make='Maker Inc' tiff:Model='Model One' exif:MakerNote='note' other='kept'/>";

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

PropertyDictionary read(MetadataBlocks blocks, std::optional<int> orientation = {}) {
  PropertyDictionary properties = propertiesOf(blocks);
  if (orientation) properties.set(property_key::kOrientation, *orientation);
  properties.rememberBlocks(std::make_shared<const MetadataBlocks>(std::move(blocks)));
  return properties;
}

void removeNested(PropertyDictionary& properties, std::string_view group, std::string_view key) {
  PropertyValue* const value = properties.find(group);
  ASSERT_NE(value, nullptr);
  EXPECT_TRUE(value->as<PropertyDictionary>()->remove(key)) << key;
}

class BlockEditing : public testing::Test {
 protected:
  BlockEditing() : xmp_(ModuleLoader{QUELLOR_MODULES}.open<XmpEngine>("xmp", kXmpEngineEntry)) {}

  [[nodiscard]] MetadataBlocks edited(const PropertyDictionary& properties) const {
    return editedBlocks(properties, xmp_);
  }

  const XmpEngine* xmp_;
};

TEST_F(BlockEditing, KeepsTheBytesWhereNothingIsGone) {
  const MetadataBlocks blocks{photoBlock(), bytesOf(kPacket), bytesOf("\x1C\2\5")};
  const MetadataBlocks after = edited(read(blocks));
  EXPECT_EQ(after.exif, blocks.exif);
  EXPECT_EQ(after.xmp, blocks.xmp);
  EXPECT_EQ(after.iptc, std::nullopt) << "it has no home in the written file";
}

TEST_F(BlockEditing, RemovesGpsFromBothBlocks) {
  PropertyDictionary properties = read({photoBlock(), bytesOf(kPacket), {}});
  properties.remove("{GPS}");
  const MetadataBlocks after = edited(properties);
  ASSERT_TRUE(after.exif);
  EXPECT_FALSE(exifProperties(*after.exif).contains("{GPS}"));
  EXPECT_FALSE(holds(after.exif, std::string_view("\0\0\x14\x6F\0\0\0\x64", 8)));
  EXPECT_FALSE(holds(after.xmp, "52,31.2N"));
  EXPECT_TRUE(holds(after.xmp, "Maker Inc"));
  EXPECT_THAT(valueOf(exifProperties(*after.exif), "{TIFF}", "Make"), Optional(PropertyValue("Maker Inc")));
}

TEST_F(BlockEditing, RemovesMakerEntriesFromBothBlocks) {
  PropertyDictionary properties = read({photoBlock(), bytesOf(kPacket), {}});
  removeNested(properties, "{TIFF}", "Make");
  removeNested(properties, "{TIFF}", "Model");
  removeNested(properties, "{Exif}", "MakerNote");
  ASSERT_TRUE(properties.remove("{MakerSigma}"));
  const MetadataBlocks after = edited(properties);
  ASSERT_TRUE(after.exif);
  for (const char* const gone : {"Maker Inc", "Model One", "SIGMA"}) EXPECT_FALSE(holds(after.exif, gone)) << gone;
  for (const char* const gone : {"Maker Inc", "Model One", "note"}) EXPECT_FALSE(holds(after.xmp, gone)) << gone;
  EXPECT_TRUE(holds(after.xmp, "52,31.2N"));
  EXPECT_EQ(nested(exifProperties(*after.exif), "{GPS}"), nested(properties, "{GPS}"));
  EXPECT_EQ(nested(exifProperties(*after.exif), "{Exif}"), nested(properties, "{Exif}"));
}

TEST_F(BlockEditing, RemovesTheNoteWithTheMakerDictionaryAlone) {
  PropertyDictionary properties = read({photoBlock(), {}, {}});
  ASSERT_TRUE(properties.remove("{MakerSigma}"));
  const MetadataBlocks after = edited(properties);
  EXPECT_FALSE(holds(after.exif, "SIGMA"));
  EXPECT_TRUE(holds(after.exif, "Maker Inc"));
}

TEST_F(BlockEditing, RemovesANoteThatCannotBeReadOnceTheOtherMakerEntriesGo) {
  TiffStructure s(true);
  const Bytes block =
      s.directory({TiffStructure::textEntry(271, "Maker Inc"), s.longEntry(34665, 8 + 2 + 2 * 12 + 4 + 10)})
          .directory({s.shortEntry(34850, 2), {37500, 7, 5000, s.number(60, 4)}})
          .bytes();
  PropertyDictionary properties = read({block, {}, {}});
  EXPECT_EQ(edited(properties).exif, block);
  removeNested(properties, "{TIFF}", "Make");
  const auto after = edited(properties).exif;
  ASSERT_TRUE(after);
  EXPECT_EQ(metadata::readExifDirectories(*after)->exif->entries.size(), 1U);
}

TEST_F(BlockEditing, RemovesAnyEntryThatIsNoLongerInItsDictionary) {
  PropertyDictionary properties = read({photoBlock({TiffStructure::textEntry(315, "Somebody")}), {}, {}});
  removeNested(properties, "{TIFF}", "Artist");
  const MetadataBlocks after = edited(properties);
  EXPECT_FALSE(holds(after.exif, "Somebody"));
  EXPECT_EQ(exifProperties(*after.exif), properties);
}

TEST_F(BlockEditing, RemovesTheEntriesOfADictionaryThatIsGone) {
  PropertyDictionary properties = read({photoBlock(), {}, {}});
  properties.remove("{TIFF}");
  properties.remove("{Exif}");
  const MetadataBlocks after = edited(properties);
  ASSERT_TRUE(after.exif);
  EXPECT_FALSE(holds(after.exif, "Maker Inc"));
  EXPECT_FALSE(exifProperties(*after.exif).contains("{Exif}"));
  EXPECT_TRUE(exifProperties(*after.exif).contains("{GPS}"));
}

TEST_F(BlockEditing, RemovesThePacketAndItsTwinInTheExifBlock) {
  PropertyDictionary properties = read({photoBlock({packetEntry()}), bytesOf(kPacket), {}});
  properties.remove("{XMP}");
  const MetadataBlocks after = edited(properties);
  EXPECT_EQ(after.xmp, std::nullopt);
  EXPECT_FALSE(holds(after.exif, "52,31.2N"));
  EXPECT_TRUE(holds(after.exif, "Maker Inc"));
}

TEST_F(BlockEditing, KeepsAPacketInTheExifBlockOnlyAsItIs) {
  PropertyDictionary properties = read({photoBlock({packetEntry()}), bytesOf(kPacket), {}});
  EXPECT_TRUE(holds(edited(properties).exif, kPacket));
  properties.remove("{GPS}");
  EXPECT_FALSE(holds(edited(properties).exif, "52,31.2N"));
}

TEST_F(BlockEditing, RemovesTwinsThatStandInThePacketAlone) {
  const MetadataBlocks after = edited(read({{}, bytesOf(kPacket), {}}));
  EXPECT_TRUE(holds(after.xmp, "other=\"kept\""));
  for (const char* const gone : {"52,31.2N", "Maker Inc", "Model One", "note"}) {
    EXPECT_FALSE(holds(after.xmp, gone)) << gone;
  }
}

TEST_F(BlockEditing, WritesTheOrientationOfTheTopLevel) {
  const TiffStructure s(true);
  for (const auto& more : {std::vector<Entry>{}, std::vector<Entry>{s.shortEntry(274, 3)}}) {
    const Bytes block = photoBlock(more);
    const MetadataBlocks after =
        edited(read({block, bytesOf("<x><rdf:RDF><rdf:Description tiff:Orientation='3'/></rdf:RDF></x>"), {}}, 6));
    ASSERT_TRUE(after.exif);
    EXPECT_EQ(exifOrientation(*after.exif), 6);
    EXPECT_TRUE(holds(after.xmp, "tiff:Orientation=\"6\""));
    EXPECT_EQ(nested(exifProperties(*after.exif), "{Exif}"), nested(exifProperties(block), "{Exif}"));
    EXPECT_EQ(nested(exifProperties(*after.exif), "{GPS}"), nested(exifProperties(block), "{GPS}"));
  }
}

TEST_F(BlockEditing, WritesTheOrientationAloneWhereThereIsNoBlock) {
  PropertyDictionary properties;
  EXPECT_EQ(edited(properties).exif, std::nullopt);
  properties.set(property_key::kOrientation, 6);
  EXPECT_EQ(edited(properties).exif, metadata::exifOrientationBlock(6));
  for (const PropertyValue& invalid : {PropertyValue(0), PropertyValue(9), PropertyValue("6")}) {
    properties.set(property_key::kOrientation, invalid);
    EXPECT_EQ(edited(properties).exif, std::nullopt);
  }
}

TEST_F(BlockEditing, KeepsAPacketThatIsNoXmlOnlyWhereNothingIsGone) {
  const Bytes broken = bytesOf("<x exif:GPSLatitude='52,31.2N'");
  PropertyDictionary properties = read({photoBlock(), broken, {}});
  EXPECT_EQ(edited(properties).xmp, broken);
  properties.remove("{GPS}");
  EXPECT_EQ(edited(properties).xmp, std::nullopt);
}

TEST_F(BlockEditing, KeepsAPacketWithoutTheModuleOnlyWhereNothingIsGone) {
  PropertyDictionary properties = read({photoBlock(), bytesOf(kPacket), {}});
  EXPECT_EQ(editedBlocks(properties, nullptr).xmp, bytesOf(kPacket));
  properties.remove("{GPS}");
  EXPECT_EQ(editedBlocks(properties, nullptr).xmp, std::nullopt);
}

TEST_F(BlockEditing, KeepsAnExifBlockThatCannotBeReadOnlyWhereNothingIsGone) {
  const Bytes broken = bytesOf("II*\0 nothing that could be read");
  PropertyDictionary properties = read({broken, bytesOf(kPacket), {}});
  EXPECT_EQ(edited(properties).exif, broken);
  properties.remove("{XMP}");
  EXPECT_EQ(edited(properties).exif, std::nullopt);
}

TEST_F(BlockEditing, LeavesOutABlockWhosePartsOverlapSoThatAnEditWouldDamageIt) {
  TiffStructure s(true);
  // The value of Software lies in its own entry, which moves up when Make goes.
  const Bytes block = s.directory({TiffStructure::textEntry(271, "Maker Inc"),
                                   {305, 2, 6, s.number(8 + 2 + 12, 4)},
                                   {315, 2, 4, bytesOf("abc")}})
                          .bytes();
  PropertyDictionary properties = read({block, {}, {}});
  ASSERT_TRUE(valueOf(properties, "{TIFF}", "Software"));
  EXPECT_EQ(edited(properties).exif, block);
  removeNested(properties, "{TIFF}", "Make");
  EXPECT_EQ(edited(properties).exif, std::nullopt);
}

}  // namespace
}  // namespace quellor
