#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_relations.h"
#include "tests/support/heif_builder.h"

namespace quellor::heif {
namespace {

using test_support::auxC;
using test_support::box;
using test_support::FieldWriter;
using test_support::fullBox;
using test_support::HeifBuilder;
using test_support::ispe;
using ::testing::ElementsAre;

/// A picture of two bytes with a thumbnail of three.
HeifBuilder smallFile() {
  HeifBuilder builder;
  builder.properties = {ispe(640, 480), ispe(64, 48)};
  builder.items = {{1, "hvc1", {0xaa, 0xbb}, {{1, false}}}, {2, "hvc1", {1, 2, 3}, {{2, true}}, true}};
  builder.references = {HeifBuilder::reference("thmb", 2, {1})};
  return builder;
}

std::vector<ItemId> idsOf(const std::vector<const Item*>& items) {
  std::vector<ItemId> ids;
  for (const Item* item : items) ids.push_back(item->id);
  return ids;
}

TEST(HeifContainer, ReadsItemsPropertiesAndReferences) {
  const Bytes file = smallFile().build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  EXPECT_EQ(container->majorBrand, fourCC("mif1"));
  EXPECT_TRUE(container->hasCompatibleBrand(fourCC("heic")));
  EXPECT_FALSE(container->hasCompatibleBrand(fourCC("miaf")));
  EXPECT_EQ(container->primaryItem, 1u);
  ASSERT_EQ(container->items.size(), 2u);
  EXPECT_EQ(container->items[0].type, fourCC("hvc1"));
  EXPECT_FALSE(container->items[0].hidden);
  EXPECT_TRUE(container->items[1].hidden);
  ASSERT_EQ(container->items[1].properties.size(), 1u);
  EXPECT_EQ(container->items[1].properties[0].index, 1u);
  EXPECT_TRUE(container->items[1].properties[0].essential);
  EXPECT_EQ(container->properties[1].type, fourCC("ispe"));
  EXPECT_THAT(container->referencesFrom(2, fourCC("thmb")), ElementsAre(1u));
  EXPECT_THAT(idsOf(container->itemsReferringTo(1, fourCC("thmb"))), ElementsAre(2u));
  EXPECT_EQ(itemData(*container, container->items[1], 100), Bytes({1, 2, 3}));
}

TEST(HeifContainer, SaysWhereAnAssociationStands) {
  const Bytes file = smallFile().build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  const PropertyAssociation& association = container->items[1].properties[0];
  EXPECT_EQ(association.fileSize, 1u);
  EXPECT_EQ(file.at(association.fileOffset), 0x82);
}

TEST(HeifContainer, NeedsNoMediaDataForItsStructure) {
  Bytes file = smallFile().build();
  file.resize(file.size() - 4);
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  EXPECT_FALSE(itemPieces(*container, container->items[0]));
  EXPECT_FALSE(itemPieces(*container, container->items[1]));
}

TEST(HeifContainer, HasNoStructureWhenTheFileEndsInsideIt) {
  const HeifBuilder builder = smallFile();
  const Bytes file = builder.build();
  const std::size_t structureEnd = builder.fileType().size() + builder.meta(0).size();
  for (std::size_t size = 0; size < structureEnd; ++size) {
    EXPECT_FALSE(readContainer(ByteView(file).first(size))) << size;
  }
  EXPECT_TRUE(readContainer(ByteView(file).first(structureEnd)));
}

/// The boxes inside `meta`, to be put together differently.
Bytes fileWithMeta(const std::vector<Bytes>& boxes, unsigned version = 0) {
  FieldWriter content;
  for (const Bytes& each : boxes) content.append(each);
  return FieldWriter().append(HeifBuilder{}.fileType()).append(fullBox("meta", version, 0, content.bytes)).bytes;
}

TEST(HeifContainer, RefusesBrokenStructures) {
  const HeifBuilder good = smallFile();
  const Bytes handler = HeifBuilder::handler(), primary = fullBox("pitm", 0, 0, {0, 1});
  const Bytes items = good.itemInformation(), locations = good.itemLocations(0), properties = good.itemProperties();
  HeifBuilder twice = good;
  twice.items[1].id = 1;
  const Bytes overlong = FieldWriter().u32(1000).text("free").bytes;
  const Bytes tooSmall = FieldWriter().u32(7).text("free").bytes;
  const Bytes noSuchProperty = box("iprp", fullBox("ipma", 0, 0, FieldWriter().u32(1).u16(1).u8(1).u8(5).bytes));
  const struct {
    const char* why;
    Bytes file;
  } cases[] = {
      {"nothing", {}},
      {"only a file type", good.fileType()},
      {"no file type", fullBox("meta", 0, 0, {})},
      {"no handler", fileWithMeta({primary, items, locations, properties})},
      {"no picture handler", fileWithMeta({HeifBuilder::handler("vide"), primary, items})},
      {"no primary item", fileWithMeta({handler, items, locations, properties})},
      {"no items", fileWithMeta({handler, primary, locations, properties})},
      {"unknown version of meta", fileWithMeta({handler, primary, items, locations}, 1)},
      {"unknown version of pitm", fileWithMeta({handler, fullBox("pitm", 2, 0, {0, 0, 0, 1}), items})},
      {"unknown version of iloc", fileWithMeta({handler, primary, items, fullBox("iloc", 3, 0, {0, 0, 0, 0, 0, 0})})},
      {"field size of 3", fileWithMeta({handler, primary, items, fullBox("iloc", 0, 0, {0x34, 0, 0, 0})})},
      {"more locations than there are",
       fileWithMeta({handler, primary, items, fullBox("iloc", 0, 0, {0x44, 0, 0, 9})})},
      {"primary item that does not exist", fileWithMeta({handler, fullBox("pitm", 0, 0, {0, 9}), items})},
      {"item id twice", fileWithMeta({handler, primary, twice.itemInformation()})},
      {"property that does not exist", fileWithMeta({handler, primary, items, noSuchProperty})},
      {"box longer than its parent", fileWithMeta({handler, primary, items, overlong})},
      {"box smaller than its header", fileWithMeta({handler, primary, items, tooSmall})},
      {"more references than there are",
       fileWithMeta({handler, primary, items, fullBox("iref", 0, 0, box("dimg", {0, 1, 0, 3, 0, 2}))})},
  };
  for (const auto& c : cases) EXPECT_FALSE(readContainer(c.file)) << c.why;
  EXPECT_TRUE(readContainer(fileWithMeta({handler, primary, items, locations, properties})));
}

TEST(HeifContainer, ReadsBoxesWithLongSizesAndOpenEnds) {
  const HeifBuilder good = smallFile();
  const FieldWriter content = [&] {
    FieldWriter writer;
    writer.u32(0).append(HeifBuilder::handler()).append(fullBox("pitm", 0, 0, {0, 1})).append(good.itemInformation());
    return writer;
  }();
  const Bytes longSize = FieldWriter()
                             .append(good.fileType())
                             .u32(1)
                             .text("meta")
                             .u64(content.bytes.size() + 16)
                             .append(content.bytes)
                             .bytes;
  EXPECT_TRUE(readContainer(longSize));
  const Bytes openEnd = FieldWriter().append(good.fileType()).u32(0).text("meta").append(content.bytes).bytes;
  EXPECT_TRUE(readContainer(openEnd));
}

/// A file whose single item has its location written by `location`, which gets the offset of `payload` in the file.
Bytes fileWithLocation(const std::function<Bytes(std::size_t)>& location, const Bytes& payload, const Bytes& idat = {},
                       const Bytes& more = {}) {
  HeifBuilder builder;
  builder.items = {{1, "hvc1", {}}, {2, "unci", {}}};
  const auto build = [&](std::size_t offset) {
    return fileWithMeta({HeifBuilder::handler(), fullBox("pitm", 0, 0, {0, 1}), builder.itemInformation(),
                         location(offset), box("idat", idat), more});
  };
  return FieldWriter().append(build(build(0).size())).append(payload).bytes;
}

std::optional<Bytes> dataOfFirstItem(const Bytes& file) {
  const auto container = readContainer(file);
  return container ? itemData(*container, container->items[0], 1000) : std::nullopt;
}

TEST(HeifItemData, IsFoundInEveryVersionAndConstruction) {
  const Bytes payload = {10, 11, 12, 13, 14, 15};
  const auto version0 = [](std::size_t offset) {
    return fullBox("iloc", 0, 0, FieldWriter().u8(0x44).u8(0).u16(1).u16(1).u16(0).u16(1).u32(offset + 1).u32(2).bytes);
  };
  EXPECT_EQ(dataOfFirstItem(fileWithLocation(version0, payload)), Bytes({11, 12}));

  const auto baseAndTwoExtents = [](std::size_t offset) {
    return fullBox("iloc", 1, 0,
                   FieldWriter()
                       .u8(0x48)
                       .u8(0x80)
                       .u16(1)
                       .u16(1)
                       .u16(0)
                       .u16(0)
                       .u64(offset)
                       .u16(2)
                       .u32(4)
                       .u64(2)
                       .u32(0)
                       .u64(1)
                       .bytes);
  };
  EXPECT_EQ(dataOfFirstItem(fileWithLocation(baseAndTwoExtents, payload)), Bytes({14, 15, 10}));

  const auto inItemData = [](std::size_t) {
    return fullBox("iloc", 2, 0, FieldWriter().u8(0x44).u8(0).u32(1).u32(1).u16(1).u16(0).u16(1).u32(1).u32(2).bytes);
  };
  EXPECT_EQ(dataOfFirstItem(fileWithLocation(inItemData, {}, {7, 8, 9})), Bytes({8, 9}));

  const auto inOtherItem = [](std::size_t offset) {
    return fullBox("iloc", 1, 0,
                   FieldWriter()
                       .u8(0x44)
                       .u8(0)
                       .u16(2)
                       .u16(1)
                       .u16(2)
                       .u16(0)
                       .u16(1)
                       .u32(2)
                       .u32(3)
                       .u16(2)
                       .u16(0)
                       .u16(0)
                       .u16(2)
                       .u32(offset)
                       .u32(3)
                       .u32(offset + 4)
                       .u32(2)
                       .bytes);
  };
  const Bytes link = fullBox("iref", 0, 0, HeifBuilder::reference("iloc", 1, {2}));
  EXPECT_EQ(dataOfFirstItem(fileWithLocation(inOtherItem, payload, {}, link)), Bytes({12, 14, 15}));

  const auto wholeFile = [](std::size_t offset) {
    return fullBox("iloc", 0, 0, FieldWriter().u8(0x40).u8(0).u16(1).u16(1).u16(0).u16(1).u32(offset).bytes);
  };
  EXPECT_EQ(dataOfFirstItem(fileWithLocation(wholeFile, payload)), payload);
}

TEST(HeifItemData, IsAbsentWhereItCannotBeWhole) {
  const Bytes payload = {10, 11, 12, 13};
  const auto location = [](std::uint64_t more, std::uint64_t length, unsigned method = 0, unsigned dataReference = 0) {
    return [=](std::size_t offset) {
      return fullBox("iloc", 1, 0,
                     FieldWriter()
                         .u8(0x88)
                         .u8(0)
                         .u16(1)
                         .u16(1)
                         .u16(method)
                         .u16(dataReference)
                         .u16(1)
                         .u64(offset + more)
                         .u64(length)
                         .bytes);
    };
  };
  EXPECT_TRUE(dataOfFirstItem(fileWithLocation(location(0, 4), payload)));
  const struct {
    const char* why;
    std::function<Bytes(std::size_t)> write;
  } cases[] = {{"ends past the file", location(0, 5)},
               {"begins past the file", location(5, 1)},
               {"length that overflows", location(1, UINT64_MAX)},
               {"base and offset that overflow",
                [](std::size_t offset) {
                  return fullBox("iloc", 1, 0,
                                 FieldWriter()
                                     .u8(0x88)
                                     .u8(0x80)
                                     .u16(1)
                                     .u16(1)
                                     .u16(0)
                                     .u16(0)
                                     .u64(UINT64_MAX)
                                     .u16(1)
                                     .u64(offset + 1)
                                     .u64(4)
                                     .bytes);
                }},
               {"ends past the item data box", location(0, 1, 1)},
               {"in an item that is not referred to", location(0, 1, 2)},
               {"in another file", location(0, 4, 0, 1)}};
  for (const auto& c : cases) EXPECT_FALSE(dataOfFirstItem(fileWithLocation(c.write, payload))) << c.why;
}

TEST(HeifItemData, RefusesItemsThatAreCutOutOfThemselves) {
  const auto circle = [](std::size_t) {
    return fullBox("iloc", 1, 0,
                   FieldWriter()
                       .u8(0x44)
                       .u8(0)
                       .u16(2)
                       .u16(1)
                       .u16(2)
                       .u16(0)
                       .u16(1)
                       .u32(0)
                       .u32(0)
                       .u16(2)
                       .u16(2)
                       .u16(0)
                       .u16(1)
                       .u32(0)
                       .u32(0)
                       .bytes);
  };
  const Bytes links = fullBox("iref", 0, 0,
                              FieldWriter()
                                  .append(HeifBuilder::reference("iloc", 1, {2}))
                                  .append(HeifBuilder::reference("iloc", 2, {1}))
                                  .bytes);
  EXPECT_FALSE(dataOfFirstItem(fileWithLocation(circle, {}, {}, links)));
}

TEST(HeifItemData, RefusesItemsThatAreCutOutOfManyPiecesManyTimes) {
  constexpr std::size_t extents = 2000;
  const auto manyCuts = [](std::size_t offset) {
    FieldWriter writer;
    writer.u8(0x44).u8(0).u16(2).u16(1).u16(2).u16(0).u16(extents);
    for (std::size_t i = 0; i < extents; ++i) writer.u32(0).u32(extents);
    writer.u16(2).u16(0).u16(0).u16(extents);
    for (std::size_t i = 0; i < extents; ++i) writer.u32(offset).u32(1);
    return fullBox("iloc", 1, 0, writer.bytes);
  };
  const Bytes link = fullBox("iref", 0, 0, HeifBuilder::reference("iloc", 1, {2}));
  const Bytes file = fileWithLocation(manyCuts, {1, 2, 3}, {}, link);
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  EXPECT_FALSE(itemPieces(*container, container->items[0])) << "four million pieces";
  EXPECT_TRUE(itemPieces(*container, container->items[1]));
}

TEST(HeifItemData, RespectsTheLimitThatItIsGiven) {
  const Bytes file = smallFile().build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  EXPECT_TRUE(itemData(*container, container->items[1], 3));
  EXPECT_FALSE(itemData(*container, container->items[1], 2));
}

TEST(HeifTopLevelImages, AreThePrimaryThenTheOthersInItemOrder) {
  HeifBuilder builder;
  builder.primary = 5;
  builder.properties = {auxC("urn:mpeg:hevc:2015:auxid:1")};
  builder.items = {{1, "hvc1", {0}},                             // a tile
                   {2, "hvc1", {0}},                             // a tile
                   {3, "hvc1", {0}},                             // another image
                   {4, "hvc1", {0}},                             // a thumbnail
                   {5, "grid", {0}},                             // the primary image
                   {6, "hvc1", {0}, {{1, true}}},                // its alpha
                   {7, "hvc1", {0}, {}, true},                   // hidden
                   {8, "Exif", {0}},                             // no image
                   {9, "tmap", {0}},                             // the primary, rendered otherwise
                   {10, "av01", {0}},                            // another image
                   {11, "mime", {0}, {}, false, "image/jpeg"},   // another image
                   {12, "mime", {0}, {}, false, "text/plain"}};  // no image
  builder.references = {HeifBuilder::reference("dimg", 5, {1, 2}), HeifBuilder::reference("thmb", 4, {5}),
                        HeifBuilder::reference("auxl", 6, {5}), HeifBuilder::reference("dimg", 9, {5, 7})};
  const Bytes file = builder.build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  EXPECT_THAT(idsOf(topLevelImages(*container)), ElementsAre(5u, 3u, 10u, 11u));
}

TEST(HeifTopLevelImages, HaveThePrimaryEvenWhenItIsHidden) {
  HeifBuilder builder;
  builder.items = {{1, "hvc1", {0}, {}, true}};
  const Bytes file = builder.build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  EXPECT_THAT(idsOf(topLevelImages(*container)), ElementsAre(1u));
}

TEST(HeifItemsNeeded, AreInputsAndAlphaButNoThumbnails) {
  HeifBuilder builder;
  builder.properties = {auxC("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha"), auxC("urn:mpeg:hevc:2015:auxid:2")};
  builder.items = {{1, "grid", {0}},
                   {2, "iden", {0}},
                   {3, "hvc1", {0}},
                   {4, "hvc1", {0}, {{1, true}}},
                   {5, "hvc1", {0}, {{2, true}}},
                   {6, "hvc1", {0}}};
  builder.references = {HeifBuilder::reference("dimg", 1, {2}), HeifBuilder::reference("dimg", 2, {3}),
                        HeifBuilder::reference("auxl", 4, {1}), HeifBuilder::reference("auxl", 5, {1}),
                        HeifBuilder::reference("thmb", 6, {1})};
  const Bytes file = builder.build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  const auto needed = itemsNeededFor(*container, *container->find(1));
  ASSERT_TRUE(needed);
  EXPECT_THAT(idsOf(*needed), ElementsAre(1u, 2u, 3u, 4u));
}

TEST(HeifItemsNeeded, AreAbsentForReferencesThatLeadNowhere) {
  HeifBuilder builder;
  builder.items = {{1, "grid", {0}}, {2, "Exif", {0}}};
  builder.references = {HeifBuilder::reference("dimg", 1, {7})};
  const Bytes nowhere = builder.build();
  builder.references = {HeifBuilder::reference("dimg", 1, {2})};
  const Bytes noImage = builder.build();
  for (const Bytes& file : {nowhere, noImage}) {
    const auto container = readContainer(file);
    ASSERT_TRUE(container);
    EXPECT_FALSE(itemsNeededFor(*container, *container->find(1)));
  }
}

TEST(HeifItemsNeeded, EndForImagesThatAreDerivedFromThemselves) {
  HeifBuilder builder;
  builder.items = {{1, "iden", {0}}, {2, "iden", {0}}};
  builder.references = {HeifBuilder::reference("dimg", 1, {2}), HeifBuilder::reference("dimg", 2, {1})};
  const Bytes file = builder.build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  EXPECT_FALSE(itemsNeededFor(*container, *container->find(1)));
}

}  // namespace
}  // namespace quellor::heif
