#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/heif_facts.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/output_editing.h"
#include "platform/heif/primary_copy.h"
#include "tests/support/heif_output.h"

namespace quellor::heif {
namespace {

using test_support::auxC;
using test_support::box;
using test_support::colrIcc;
using test_support::colrNclx;
using test_support::dataOf;
using test_support::HeifBuilder;
using test_support::hvcC;
using test_support::imir;
using test_support::irot;
using test_support::ispe;
using test_support::propertiesOf;
using test_support::propertyTypesOf;
using test_support::textsOf;
using test_support::written;
using ::testing::ElementsAre;

/// A cropped and turned picture, the input that it is derived from, and its alpha image, which all share a rotation.
class HeifOutputEditing : public ::testing::Test {
 protected:
  void SetUp() override {
    builder_.properties = {hvcC(),
                           ispe(64, 64),
                           irot(1),
                           box("clap", Bytes(32, 1)),
                           imir(1),
                           colrNclx(1, 1, 1, false),
                           auxC("urn:mpeg:hevc:2015:auxid:1")};
    builder_.items = {{4, "iden", {0}, {{2, false}, {3, true}, {4, true}, {5, true}, {6, false}}},
                      {5, "hvc1", {2}, {{1, true}, {7, true}, {3, true}}},
                      {6, "hvc1", {3}, {{1, true}, {3, true}, {6, false}}}};
    builder_.primary = 4;
    builder_.references = {HeifBuilder::reference("dimg", 4, {6}), HeifBuilder::reference("auxl", 5, {4})};
    reset();
  }

  void reset() {
    source_ = builder_.build();
    auto copy = copyOfPrimaryImage(readContainer(source_).value());
    ASSERT_TRUE(copy);
    file_ = std::move(*copy);
  }

  /// The file as it is read back.
  Container result() {
    bytes_ = written(file_);
    return readContainer(bytes_).value();
  }

  HeifBuilder builder_;
  Bytes source_;
  OutputFile file_;
  Bytes bytes_;
};

TEST_F(HeifOutputEditing, SetsEveryOrientation) {
  // Rotations anticlockwise by quarters, then mirroring (ISO/IEC 23008-12, 6.5.10 and 6.5.12).
  const struct {
    int orientation;
    std::vector<Bytes> boxes;
  } cases[] = {{1, {irot(0)}},          {2, {imir(1)}}, {3, {irot(2)}},          {4, {imir(0)}},
               {5, {irot(3), imir(1)}}, {6, {irot(3)}}, {7, {irot(1), imir(1)}}, {8, {irot(1)}}};
  builder_.items[0].properties = {{2, false}, {6, false}};
  builder_.items[1].properties = {{1, true}, {7, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.orientation);
    reset();
    setOrientation(file_, c.orientation);
    const Container container = result();
    for (const ItemId id : {4u, 5u}) {
      const Item& item = *container.find(id);
      EXPECT_EQ(orientationOf(container, item), c.orientation);
      const auto properties = propertiesOf(container, item);
      ASSERT_EQ(properties.size(), 2 + c.boxes.size());
      for (std::size_t i = 0; i < c.boxes.size(); ++i) {
        EXPECT_EQ(box(properties[2 + i].type, properties[2 + i].payload), c.boxes[i]);
        EXPECT_TRUE(properties[2 + i].essential);
      }
    }
  }
}

TEST_F(HeifOutputEditing, PutsTransformativePropertiesLast) {
  setOrientation(file_, 5);
  const Container container = result();
  EXPECT_THAT(propertyTypesOf(container, *container.find(4)), ElementsAre("ispe", "colr", "clap!", "irot!", "imir!"));
  EXPECT_THAT(propertyTypesOf(container, *container.find(5)), ElementsAre("hvcC!", "auxC!", "irot!", "imir!"));
}

TEST_F(HeifOutputEditing, LeavesTheTransformationOfOtherItemsAlone) {
  setOrientation(file_, 3);
  const Container container = result();
  const auto properties = propertiesOf(container, *container.find(6));
  EXPECT_EQ(box(properties.at(1).type, properties.at(1).payload), irot(1));
}

TEST_F(HeifOutputEditing, LeavesAnItemAloneThatReadsRightAlready) {
  const auto primary = file_.items[0].properties, alpha = file_.items[1].properties;
  setOrientation(file_, 7);  // irot 1, then imir 1
  EXPECT_EQ(file_.items[0].properties, primary);
  EXPECT_NE(file_.items[1].properties, alpha);
}

TEST_F(HeifOutputEditing, IgnoresWhatIsNoOrientation) {
  const Bytes before = written(file_);
  for (const int value : {-1, 0, 9}) setOrientation(file_, value);
  EXPECT_EQ(written(file_), before);
}

TEST_F(HeifOutputEditing, ReplacesTheColorsOfThePrimaryItemOnly) {
  setColor(file_, Bytes{1, 2, 3}, Cicp{12, 13, 6, true});
  const Container container = result();
  const Item& primary = *container.find(4);
  EXPECT_THAT(propertyTypesOf(container, primary), ElementsAre("ispe", "colr", "colr", "irot!", "clap!", "imir!"));
  const auto properties = propertiesOf(container, primary);
  EXPECT_EQ(box("colr", properties[1].payload), colrIcc({1, 2, 3}));
  EXPECT_EQ(box("colr", properties[2].payload), colrNclx(12, 13, 6, true));
  EXPECT_EQ(iccProfileOf(container, primary), (Bytes{1, 2, 3}));
  EXPECT_EQ(cicpOf(container, primary), (Cicp{12, 13, 6, true}));
  EXPECT_EQ(cicpOf(container, *container.find(6)), (Cicp{1, 1, 1, false}));
}

TEST_F(HeifOutputEditing, WritesNoEmptyProfile) {
  for (const std::optional<Bytes>& profile : {std::optional<Bytes>(), std::optional<Bytes>(Bytes{})}) {
    reset();
    setColor(file_, profile, Cicp{1, 13, 6, true});
    const Container container = result();
    EXPECT_THAT(propertyTypesOf(container, *container.find(4)), ElementsAre("ispe", "colr", "irot!", "clap!", "imir!"));
  }
}

TEST_F(HeifOutputEditing, PutsColorsLastWhereNothingIsTransformed) {
  builder_.items[0].properties = {{2, false}};
  reset();
  setColor(file_, std::nullopt, Cicp{});
  const Container container = result();
  EXPECT_THAT(propertyTypesOf(container, *container.find(4)), ElementsAre("ispe", "colr"));
}

TEST_F(HeifOutputEditing, AddsHiddenMetadataItems) {
  const Bytes exif = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 0};
  addMetadata(file_, {exif, Bytes{'<', 'x', '/', '>'}, Bytes{28, 2, 0}});
  const Container container = result();
  ASSERT_EQ(container.items.size(), 5u);
  const Item &block = container.items[3], &packet = container.items[4];
  EXPECT_EQ(block.id, 7u);
  EXPECT_EQ(block.type, fourCC("Exif"));
  EXPECT_TRUE(block.hidden);
  Bytes prefixed = {0, 0, 0, 6, 'E', 'x', 'i', 'f', 0, 0};
  prefixed.insert(prefixed.end(), exif.begin(), exif.end());
  EXPECT_EQ(dataOf(container, block), prefixed);
  EXPECT_EQ(packet.id, 8u);
  EXPECT_EQ(packet.type, fourCC("mime"));
  EXPECT_EQ(packet.contentType, "application/rdf+xml");
  EXPECT_TRUE(packet.hidden);
  EXPECT_EQ(dataOf(container, packet), (Bytes{'<', 'x', '/', '>'}));
  EXPECT_THAT(textsOf(container.references), ElementsAre("dimg 4>6", "auxl 5>4", "cdsc 7>4", "cdsc 8>4"));

  const auto facts = factsOf(bytes_);
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->metadata.exif, exif);
  EXPECT_EQ(facts->metadata.xmp, (Bytes{'<', 'x', '/', '>'}));
}

TEST_F(HeifOutputEditing, AddsNoEmptyMetadata) {
  addMetadata(file_, {Bytes{}, Bytes{}, std::nullopt});
  addMetadata(file_, {});
  EXPECT_EQ(result().items.size(), 3u);
}

TEST_F(HeifOutputEditing, FindsIdsThatFitIn16BitsWhileThereAreAny) {
  const struct { ItemId greatest, expected; } cases[] = {{65534, 65535}, {65535, 1}, {UINT32_MAX, 1}};
  for (const auto& c : cases) {
    reset();
    file_.items[2].id = c.greatest;
    file_.references[0].to = {c.greatest};
    addMetadata(file_, {Bytes{'M', 'M'}, std::nullopt, std::nullopt});
    EXPECT_EQ(file_.items.back().id, c.expected);
  }
}

TEST_F(HeifOutputEditing, KeepsItsMetadataWhenItIsCopied) {
  addMetadata(file_, {Bytes{'M', 'M', 0, 42}, std::nullopt, std::nullopt});
  OutputFile copy = file_;
  const Bytes before = written(file_);
  file_ = {};
  EXPECT_EQ(written(copy), before);
}

}  // namespace
}  // namespace quellor::heif
