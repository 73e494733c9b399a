#include <functional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/primary_copy.h"
#include "tests/support/heif_output.h"

namespace quellor::heif {
namespace {

using test_support::auxC;
using test_support::box;
using test_support::colrIcc;
using test_support::dataOf;
using test_support::FieldWriter;
using test_support::HeifBuilder;
using test_support::hvcC;
using test_support::idsOf;
using test_support::irot;
using test_support::ispe;
using test_support::propertiesOf;
using test_support::textsOf;
using test_support::written;
using ::testing::ElementsAre;

const std::string kAlpha = "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha";
const Bytes kGridOfTwo = {0, 0, 0, 1, 0, 64, 0, 32};

/// A rotated grid of two tiles with alpha, beside everything that a camera adds: a thumbnail, a gain map, metadata and
/// another picture. The tiles share their properties, of which one is of a vendor's own type.
HeifBuilder cameraFile() {
  HeifBuilder builder;
  builder.primary = 10;
  builder.properties = {hvcC(),          ispe(32, 32),
                        colrIcc({7, 7}), ispe(64, 32),
                        irot(1),         auxC(kAlpha),
                        ispe(8, 8),      auxC("urn:com:apple:photo:2020:aux:hdrgainmap"),
                        hvcC(2, 0, 8),   box("uuid", Bytes(20, 9)),
                        box("abcd", {})};
  builder.items = {{7, "hvc1", {1, 2}, {{1, true}, {2, false}, {3, false}, {10, true}}, true},
                   {20, "hvc1", {99}, {{1, true}, {7, false}}},  // another picture
                   {3, "hvc1", {3, 4, 5}, {{1, true}, {2, false}, {3, false}, {10, true}}, true},
                   {10, "grid", kGridOfTwo, {{4, false}, {11, false}, {5, true}}},
                   {11, "hvc1", {6}, {{9, true}, {4, false}, {6, true}, {5, true}}},  // alpha
                   {12, "hvc1", {98}, {{1, true}, {7, false}}},                       // thumbnail
                   {13, "hvc1", {97}, {{1, true}, {7, false}, {8, true}}},            // gain map
                   {14, "Exif", {96}, {}, true},
                   {15, "mime", {95}, {}, true, "application/rdf+xml"}};
  builder.references = {HeifBuilder::reference("cdsc", 14, {10}),      HeifBuilder::reference("thmb", 12, {10}),
                        HeifBuilder::reference("auxl", 11, {12, 10}),  HeifBuilder::reference("auxl", 13, {10}),
                        HeifBuilder::reference("dimg", 10, {7, 3}),    HeifBuilder::reference("prem", 10, {11}),
                        HeifBuilder::reference("cdsc", 15, {7, 10, 3})};
  return builder;
}

TEST(HeifPrimaryCopy, TakesWhatThePrimaryImageNeedsAndNothingElse) {
  const Bytes file = cameraFile().build();
  const auto container = readContainer(file);
  ASSERT_TRUE(container);
  const auto copy = copyOfPrimaryImage(*container);
  ASSERT_TRUE(copy);
  const Bytes output = written(*copy);
  const auto copied = readContainer(output);
  ASSERT_TRUE(copied);

  EXPECT_EQ(copied->primaryItem, 10u);
  EXPECT_THAT(idsOf(copied->items), ElementsAre(7u, 3u, 10u, 11u));
  for (const Item& item : copied->items) {
    const Item& original = *container->find(item.id);
    EXPECT_EQ(item.type, original.type);
    const bool isInput = !copied->itemsReferringTo(item.id, fourCC("dimg")).empty();
    EXPECT_EQ(item.hidden, original.hidden || isInput);
    EXPECT_EQ(dataOf(*copied, item), dataOf(*container, original));
    EXPECT_EQ(propertiesOf(*copied, item), propertiesOf(*container, original));
  }
  EXPECT_EQ(dataOf(*copied, *copied->find(10)), kGridOfTwo);
  EXPECT_THAT(textsOf(copied->references), ElementsAre("auxl 11>10", "dimg 10>7,3", "prem 10>11"));
}

TEST(HeifPrimaryCopy, WritesSharedPropertiesOnce) {
  const Bytes file = cameraFile().build();
  const auto copy = copyOfPrimaryImage(readContainer(file).value());
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->properties.size(), 9u);  // of 11: the gain map's two stay behind
  EXPECT_EQ(copy->items[0].properties, copy->items[1].properties);
}

TEST(HeifPrimaryCopy, KeepsTheTypeOfAVendorsProperty) {
  const Bytes file = cameraFile().build();
  const auto copy = copyOfPrimaryImage(readContainer(file).value());
  ASSERT_TRUE(copy);
  EXPECT_THAT(copy->properties, ::testing::Contains(box("uuid", Bytes(20, 9))));
}

TEST(HeifPrimaryCopy, LeavesTheDataWhereItIs) {
  const Bytes file = cameraFile().build();
  const auto copy = copyOfPrimaryImage(readContainer(file).value());
  ASSERT_TRUE(copy);
  for (const OutputItem& item : copy->items) {
    ASSERT_EQ(item.data.size(), 1u);
    EXPECT_GE(item.data[0].data(), file.data());
    EXPECT_LT(item.data[0].data(), file.data() + file.size());
  }
}

TEST(HeifPrimaryCopy, TakesAnIdentityDerivationThatHasNoData) {
  HeifBuilder builder = cameraFile();
  builder.items.push_back({30, "iden", {}, {{5, true}}});
  builder.references.push_back(HeifBuilder::reference("dimg", 30, {10}));
  builder.primary = 30;
  const Bytes file = builder.build();
  auto container = readContainer(file);
  ASSERT_TRUE(container);
  container->items.back().extents.clear();  // as for an item that iloc does not name
  const auto copy = copyOfPrimaryImage(*container);
  ASSERT_TRUE(copy);
  const Bytes output = written(*copy);
  const auto copied = readContainer(output);
  ASSERT_TRUE(copied);
  EXPECT_THAT(idsOf(copied->items), ElementsAre(7u, 3u, 10u, 11u, 30u));
  EXPECT_TRUE(copied->items.back().extents.empty());
}

TEST(HeifPrimaryCopy, NamesTheBrandAfterWhatThePrimaryImageIsCodedAs) {
  const struct {
    const char* what;
    Bytes configuration;
    const char* brand;
  } cases[] = {
      {"Main", hvcC(1, 1, 8), "heic"},
      {"Main Still Picture", hvcC(3, 1, 8), "heic"},
      {"Main with a tier flag", hvcC(0x21, 1, 8), "heic"},
      {"Main 10", hvcC(2, 1, 10, 10), "heix"},
      {"Main 10 with 8 bits", hvcC(2, 1, 8), "heix"},
      {"4:2:2", hvcC(4, 2, 10, 10), "heix"},
      {"4:4:4", hvcC(4, 3, 8), "heix"},
      {"grey", hvcC(4, 0, 8), "heix"},
      {"luma of 9 bits", hvcC(1, 1, 9), "heix"},
      {"chroma of 9 bits", hvcC(1, 1, 8, 9), "heix"},
      {"too short", box("hvcC", {1, 1}), "heix"},
  };
  for (const auto& c : cases) {
    HeifBuilder builder = cameraFile();
    builder.properties[0] = c.configuration;
    const Bytes file = builder.build();
    const auto copy = copyOfPrimaryImage(readContainer(file).value());
    ASSERT_TRUE(copy) << c.what;
    EXPECT_EQ(test_support::textOf(copy->majorBrand), c.brand) << c.what;
    EXPECT_THAT(copy->compatibleBrands, ElementsAre(fourCC("mif1"), copy->majorBrand)) << c.what;
  }
}

TEST(HeifPrimaryCopy, PromisesMiafWhereTheSourceDoes) {
  HeifBuilder builder = cameraFile();
  builder.brands = {"heic", "MiHE", "miaf", "mif1", "tmap"};
  const Bytes file = builder.build();
  const auto copy = copyOfPrimaryImage(readContainer(file).value());
  ASSERT_TRUE(copy);
  EXPECT_THAT(copy->compatibleBrands, ElementsAre(fourCC("mif1"), fourCC("heic"), fourCC("miaf")));
}

TEST(HeifPrimaryCopy, IsAbsentForWhatCannotBeCopiedWhole) {
  constexpr std::size_t tile = 0, grid = 3, alpha = 4;
  const struct {
    const char* what;
    std::function<void(Container&)> change;
  } cases[] = {
      {"a tile in AV1", [](Container& c) { c.items[tile].type = fourCC("av01"); }},
      {"a tile in JPEG", [](Container& c) { c.items[tile].type = fourCC("jpeg"); }},
      {"an uncompressed tile", [](Container& c) { c.items[tile].type = fourCC("unci"); }},
      {"alpha in AV1", [](Container& c) { c.items[alpha].type = fourCC("av01"); }},
      {"parameter sets in the samples", [](Container& c) { c.items[tile].type = fourCC("hev1"); }},
      {"a tone-mapped rendition", [](Container& c) { c.items[grid].type = fourCC("tmap"); }},
      {"a tile without a configuration",
       [](Container& c) { c.items[tile].properties.erase(c.items[tile].properties.begin()); }},
      {"an encrypted tile", [](Container& c) { c.items[tile].protectionIndex = 1; }},
      {"a tile in another file", [](Container& c) { c.items[tile].dataReferenceIndex = 1; }},
      {"a tile past the end of the file", [](Container& c) { c.items[tile].extents[0].offset = c.file.size() - 1; }},
      {"a tile without a location", [](Container& c) { c.items[tile].extents.clear(); }},
      {"a tile without bytes",
       [](Container& c) {
         c.items[tile].extents[0] = {c.file.size(), 0};
       }},
      {"a grid without a descriptor", [](Container& c) { c.items[grid].extents.clear(); }},
      {"tiles that are the whole file each",
       [](Container& c) {
         c.items[tile].extents = {{0, 0}, {0, 0}};
       }},
      {"a grid of itself", [](Container& c) { c.references[4].to[0] = 10; }},
      {"a primary item that is no image", [](Container& c) { c.primaryItem = 14; }},
      {"a primary item that does not exist", [](Container& c) { c.primaryItem = 400; }},
  };
  const Bytes file = cameraFile().build();
  for (const auto& c : cases) {
    auto read = readContainer(file);
    ASSERT_TRUE(read);
    c.change(*read);
    Container container;  // with indexes made after the change
    container.file = read->file;
    container.primaryItem = read->primaryItem;
    container.items = read->items;
    container.properties = read->properties;
    container.references = read->references;
    container.buildIndexes();
    EXPECT_FALSE(copyOfPrimaryImage(container)) << c.what;
  }
}

TEST(HeifPrimaryCopy, IsAbsentForADerivationOfNothing) {
  HeifBuilder builder = cameraFile();
  builder.references.clear();
  const Bytes file = builder.build();
  EXPECT_FALSE(copyOfPrimaryImage(readContainer(file).value()));
}

}  // namespace
}  // namespace quellor::heif
