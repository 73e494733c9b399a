#include "platform/heif/heif_facts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/item_properties.h"
#include "tests/support/heif_builder.h"

namespace quellor::heif {
namespace {

using test_support::auxC;
using test_support::box;
using test_support::colrIcc;
using test_support::colrNclx;
using test_support::FieldWriter;
using test_support::fullBox;
using test_support::HeifBuilder;
using test_support::imir;
using test_support::irot;
using test_support::ispe;
using Kind = AuxiliaryImage::Kind;

/// A single picture with these properties, in this order.
HeifBuilder pictureWith(const std::vector<Bytes>& properties) {
  HeifBuilder builder;
  builder.properties = properties;
  builder.items = {{1, "hvc1", {0}}};
  for (std::size_t i = 1; i <= properties.size(); ++i) builder.items[0].properties.emplace_back(i, false);
  return builder;
}

ImageFacts factsWith(const HeifBuilder& builder) {
  const auto facts = factsOf(builder.build());
  EXPECT_TRUE(facts);
  return facts ? *facts : ImageFacts{};
}

// Exif 2.32, tag 0x0112: 6 is shown after a quarter turn clockwise, 8 after one anticlockwise; irot counts quarter
// turns anticlockwise; imir 0 exchanges top and bottom (Exif 4), 1 left and right (Exif 2).
TEST(HeifOrientation, CombinesRotationAndMirroringInTheirOrder) {
  const struct {
    std::vector<Bytes> properties;
    std::optional<int> orientation;
  } cases[] = {
      {{}, std::nullopt},
      {{irot(0)}, 1},
      {{irot(1)}, 8},
      {{irot(2)}, 3},
      {{irot(3)}, 6},
      {{imir(0)}, 4},
      {{imir(1)}, 2},
      // Exif 5: row 0 is the visual left side, column 0 the top: the transposed image.
      {{irot(3), imir(1)}, 5},
      {{irot(1), imir(0)}, 5},
      {{imir(0), irot(3)}, 5},
      // Exif 7: row 0 is the visual right side, column 0 the bottom.
      {{irot(1), imir(1)}, 7},
      {{irot(3), imir(0)}, 7},
      {{imir(1), irot(3)}, 7},
      {{irot(2), imir(0)}, 2},
      {{irot(2), imir(1)}, 4},
      {{irot(1), irot(3)}, 1},
      {{imir(0), imir(1)}, 3},
  };
  for (const auto& c : cases) EXPECT_EQ(factsWith(pictureWith(c.properties)).orientation, c.orientation);
}

TEST(HeifOrientation, LetsTheExifOneCountOnlyWithoutTheMiafBrand) {
  HeifBuilder builder = pictureWith({});
  EXPECT_TRUE(factsWith(builder).exifOrientationCounts);
  builder.brands = {"heic", "mif1", "miaf"};
  EXPECT_FALSE(factsWith(builder).exifOrientationCounts);
}

TEST(HeifSize, IsThatOfTheStoredImageAfterItsCleanAperture) {
  const auto clap = [](unsigned widthN, unsigned widthD, unsigned heightN, unsigned heightD) {
    return box("clap",
               FieldWriter().u32(widthN).u32(widthD).u32(heightN).u32(heightD).u32(0).u32(1).u32(0).u32(1).bytes);
  };
  const struct {
    std::vector<Bytes> properties;
    std::uint32_t width, height;
  } cases[] = {
      {{ispe(640, 480)}, 640, 480},
      {{ispe(640, 480), irot(1)}, 640, 480},
      {{ispe(64, 104), clap(29, 1, 100, 1)}, 29, 100},
      {{ispe(64, 104), clap(58, 2, 200, 2), irot(3)}, 29, 100},
      {{ispe(64, 104), clap(1000, 1, 100, 1)}, 64, 100},
      // One that leaves nothing is none; such an image does not decode.
      {{ispe(64, 104), clap(29, 0, 100, 1)}, 64, 104},
      {{ispe(64, 104), clap(1000, 1, 0, 1)}, 64, 104},
  };
  for (const auto& c : cases) {
    const ImageFacts facts = factsWith(pictureWith(c.properties));
    EXPECT_EQ(facts.width, c.width);
    EXPECT_EQ(facts.height, c.height);
  }
}

TEST(HeifColor, IsTheProfileAndTheCodePointsOfThePrimaryImage) {
  const ImageFacts facts = factsWith(pictureWith({colrNclx(9, 16, 9, true), colrIcc({1, 2, 3}, "rICC")}));
  EXPECT_EQ(facts.iccProfile, Bytes({1, 2, 3}));
  EXPECT_EQ(facts.cicp, (Cicp{9, 16, 9, true}));
}

TEST(HeifColor, TakesAnEmptyProfileForNone) {
  EXPECT_EQ(factsWith(pictureWith({colrIcc({})})).iccProfile, std::nullopt);
  EXPECT_EQ(factsWith(pictureWith({colrIcc({}), colrIcc({5})})).iccProfile, Bytes({5}));
}

TEST(HeifColor, IsFoundOnTheTilesOfAGridButNotOnOtherImages) {
  HeifBuilder builder;
  builder.primary = 2;
  builder.properties = {colrIcc({1}), colrIcc({2})};
  builder.items = {{1, "hvc1", {0}, {{1, false}}}, {2, "grid", {0}}, {3, "hvc1", {0}, {{2, false}}}};
  builder.references = {HeifBuilder::reference("dimg", 2, {1})};
  EXPECT_EQ(factsWith(builder).iccProfile, Bytes({1}));
  builder.references = {HeifBuilder::reference("dimg", 2, {3})};
  EXPECT_EQ(factsWith(builder).iccProfile, Bytes({2}));
  builder.references = {};
  EXPECT_EQ(factsWith(builder).iccProfile, std::nullopt);
}

/// An Exif item: the distance to the TIFF header, then what stands before it, then the header and so on.
Bytes exifItem(const Bytes& before, const Bytes& tiff) {
  return FieldWriter().u32(before.size()).append(before).append(tiff).bytes;
}

TEST(HeifMetadata, IsThatWhichDescribesThePrimaryImage) {
  HeifBuilder builder;
  builder.primary = 1;
  builder.items = {{1, "hvc1", {0}},
                   {2, "Exif", exifItem({'E', 'x', 'i', 'f', 0, 0}, {'M', 'M', 0, 42})},
                   {3, "mime", {'<', 'x', '/', '>'}, {}, false, "application/rdf+xml"},
                   {4, "mime", {'<', 'y', '/', '>'}, {}, false, "application/rdf+xml"},
                   {5, "hvc1", {0}},
                   {6, "iptc", {0x1c, 2, 5, 0, 0}}};
  builder.references = {HeifBuilder::reference("cdsc", 2, {1}), HeifBuilder::reference("cdsc", 3, {5}),
                        HeifBuilder::reference("cdsc", 4, {5, 1}), HeifBuilder::reference("cdsc", 6, {1})};
  const MetadataBlocks blocks = factsWith(builder).metadata;
  EXPECT_EQ(blocks.exif, Bytes({'M', 'M', 0, 42}));
  EXPECT_EQ(blocks.xmp, Bytes({'<', 'y', '/', '>'}));
  EXPECT_EQ(blocks.iptc, Bytes({0x1c, 2, 5, 0, 0}));
}

TEST(HeifMetadata, PassesOverExifItemsWhoseHeaderLiesOutside) {
  for (const Bytes& item : {Bytes{}, Bytes{0, 0, 0}, Bytes{0, 0, 0, 0}, Bytes{0, 0, 0, 9, 'M', 'M'},
                            Bytes{0xff, 0xff, 0xff, 0xff, 'M', 'M'}}) {
    HeifBuilder builder;
    builder.items = {{1, "hvc1", {0}}, {2, "Exif", item}};
    builder.references = {HeifBuilder::reference("cdsc", 2, {1})};
    EXPECT_EQ(factsWith(builder).metadata.exif, std::nullopt);
  }
}

/// A primary image with one auxiliary image of 20 x 10 pixels, of that type.
HeifBuilder withAuxiliary(const std::string& urn, const Bytes& subtype = {}) {
  HeifBuilder builder;
  builder.properties = {auxC(urn, subtype), ispe(20, 10)};
  builder.items = {{1, "hvc1", {0}}, {2, "hvc1", {0}, {{1, true}, {2, false}}}};
  builder.references = {HeifBuilder::reference("auxl", 2, {1})};
  return builder;
}

TEST(HeifAuxiliaryImages, AreKnownByTheirTypes) {
  const struct {
    const char* urn;
    std::optional<Kind> kind;
  } cases[] = {
      {"urn:mpeg:hevc:2015:auxid:2", Kind::depth},
      {"urn:mpeg:mpegB:cicp:systems:auxiliary:depth", Kind::depth},
      {"urn:com:apple:photo:2018:aux:portraiteffectsmatte", Kind::portraitEffectsMatte},
      {"urn:com:apple:photo:2019:aux:semanticskinmatte", Kind::semanticSegmentationMatte},
      {"urn:com:apple:photo:2019:aux:semantichairmatte", Kind::semanticSegmentationMatte},
      {"urn:com:apple:photo:2020:aux:semanticglassesmatte", Kind::semanticSegmentationMatte},
      {"urn:com:apple:photo:2020:aux:semanticskymatte", Kind::semanticSegmentationMatte},
      {"urn:com:apple:photo:2020:aux:hdrgainmap", Kind::hdrGainMap},
      {"urn:com:samsung:photo:2024:aux:hdrgainmap", Kind::hdrGainMap},
      {"urn:iso:std:iso:ts:21496:-1", Kind::hdrGainMap},
      {"urn:mpeg:hevc:2015:auxid:1", std::nullopt},
      {"urn:mpeg:mpegB:cicp:systems:auxiliary:alpha", std::nullopt},
      {"urn:com:example:unknown", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& c : cases) {
    const auto images = factsWith(withAuxiliary(c.urn)).auxiliaryImages;
    ASSERT_EQ(images.size(), c.kind ? 1u : 0u) << c.urn;
    if (!c.kind) continue;
    EXPECT_EQ(images[0].kind, *c.kind) << c.urn;
    EXPECT_EQ(images[0].type, c.urn);
    EXPECT_EQ(images[0].width, 20u);
    EXPECT_EQ(images[0].height, 10u);
  }
}

TEST(HeifAuxiliaryImages, MakeAlphaPartOfTheImage) {
  EXPECT_TRUE(factsWith(withAuxiliary("urn:mpeg:hevc:2015:auxid:1")).hasAlpha);
  EXPECT_FALSE(factsWith(withAuxiliary("urn:mpeg:hevc:2015:auxid:2")).hasAlpha);
}

TEST(HeifAuxiliaryImages, BelongToThePrimaryImageOnly) {
  HeifBuilder builder = withAuxiliary("urn:mpeg:hevc:2015:auxid:2");
  builder.items.push_back({3, "hvc1", {0}});
  builder.references = {HeifBuilder::reference("auxl", 2, {3})};
  EXPECT_TRUE(factsWith(builder).auxiliaryImages.empty());
}

/// A subtype with one depth representation message (ITU-T H.265, G.14.2.3): four flags, then the type as ue(v).
Bytes depthMessage(std::uint8_t payloadBits) {
  const Bytes unit = {39 << 1, 1, 177, 1, payloadBits, 0x80};
  return FieldWriter().u32(unit.size() + 4).u32(unit.size()).append(unit).bytes;
}

TEST(HeifAuxiliaryImages, TellDisparityByTheDepthRepresentation) {
  const struct {
    std::uint8_t bits;
    Kind kind;
  } cases[] = {
      {0b0000'1'000, Kind::depth},      // type 0: uniform inverse depth
      {0b0000'010'0, Kind::disparity},  // type 1: uniform disparity
      {0b0000'011'0, Kind::depth},      // type 2: uniform depth
      {0b0011'001'0, Kind::disparity},  // type 3 begins 00100: nonuniform disparity, cut off by the next case
  };
  for (const auto& c : cases) {
    Bytes message = depthMessage(c.bits);
    if (c.bits == 0b0011'001'0) {
      message = FieldWriter().u32(11).u32(7).append({39 << 1, 1, 177, 2, 0b0011'0010, 0, 0x80}).bytes;
    }
    const auto images = factsWith(withAuxiliary("urn:mpeg:hevc:2015:auxid:2", message)).auxiliaryImages;
    ASSERT_EQ(images.size(), 1u);
    EXPECT_EQ(images[0].kind, c.kind) << int{c.bits};
  }
}

TEST(HeifAuxiliaryImages, AreDepthWhenTheMessageIsBroken) {
  for (const Bytes& subtype : {Bytes{1}, Bytes{0, 0, 0, 9}, Bytes{0, 0, 0, 8, 0, 0, 0, 99}, Bytes(64, 0xff),
                               FieldWriter().u32(9).u32(5).append({39 << 1, 1, 177, 9, 0}).bytes}) {
    const auto images = factsWith(withAuxiliary("urn:mpeg:hevc:2015:auxid:2", subtype)).auxiliaryImages;
    ASSERT_EQ(images.size(), 1u);
    EXPECT_EQ(images[0].kind, Kind::depth);
  }
}

TEST(HeifAuxiliaryImages, TellDisparityByTheirPacket) {
  for (const std::string& packet :
       {std::string(R"(<x:d xmlns:x="u" xmlns:p="v" p:AuxiliaryImageType="disparity"/>)"),
        std::string("<d><ns:AuxiliaryImageType xmlns:ns='v'>disparity</ns:AuxiliaryImageType></d>")}) {
    HeifBuilder builder = withAuxiliary("urn:mpeg:hevc:2015:auxid:2");
    builder.items.push_back({3, "mime", Bytes(packet.begin(), packet.end()), {}, false, "application/rdf+xml"});
    builder.references.push_back(HeifBuilder::reference("cdsc", 3, {2}));
    const auto images = factsWith(builder).auxiliaryImages;
    ASSERT_EQ(images.size(), 1u);
    EXPECT_EQ(images[0].kind, Kind::disparity) << packet;
  }
}

TEST(HeifAuxiliaryImages, IncludeTheGainMapOfAToneMappedRendition) {
  HeifBuilder builder;
  builder.properties = {ispe(8, 4)};
  builder.items = {{1, "hvc1", {0}}, {2, "hvc1", {0}, {{1, false}}, true}, {3, "tmap", {0}}};
  builder.references = {HeifBuilder::reference("dimg", 3, {1, 2})};
  const auto images = factsWith(builder).auxiliaryImages;
  ASSERT_EQ(images.size(), 1u);
  EXPECT_EQ(images[0].kind, Kind::hdrGainMap);
  EXPECT_EQ(images[0].width, 8u);
  builder.references = {HeifBuilder::reference("dimg", 3, {2, 1})};
  EXPECT_TRUE(factsWith(builder).auxiliaryImages.empty());
}

TEST(HeifSamples, AreDescribedByTheCodecConfiguration) {
  // HEVCDecoderConfigurationRecord: chroma format in byte 16, luma depth minus 8 in byte 17.
  const auto hvcC = [](std::uint8_t chroma, std::uint8_t depth) {
    Bytes record(23, 0);
    record[16] = static_cast<std::uint8_t>(0xfc | chroma);
    record[17] = static_cast<std::uint8_t>(0xf8 | depth);
    return box("hvcC", record);
  };
  const auto av1C = [](std::uint8_t flags) { return box("av1C", {0x81, 0, flags, 0}); };
  const struct {
    Bytes property;
    int bits;
    ColorModel model;
  } cases[] = {{hvcC(1, 0), 8, ColorModel::rgb},   {hvcC(0, 2), 10, ColorModel::grey},
               {hvcC(3, 4), 12, ColorModel::rgb},  {av1C(0), 8, ColorModel::rgb},
               {av1C(0x40), 10, ColorModel::rgb},  {av1C(0x60), 12, ColorModel::rgb},
               {av1C(0x50), 10, ColorModel::grey}, {box("hvcC", {1, 2}), 8, ColorModel::rgb}};
  for (const auto& c : cases) {
    const ImageFacts facts = factsWith(pictureWith({c.property}));
    EXPECT_EQ(facts.bitsPerComponent, c.bits);
    EXPECT_EQ(facts.colorModel, c.model);
  }
  const Bytes pixi = fullBox("pixi", 0, 0, {3, 10, 10, 10});
  EXPECT_EQ(factsWith(pictureWith({pixi})).bitsPerComponent, 10);
}

TEST(HeifFacts, MarkThePrimaryImageAmongSeveral) {
  HeifBuilder builder;
  builder.items = {{1, "hvc1", {0}}};
  EXPECT_FALSE(factsWith(builder).primaryImage);
  builder.items.push_back({2, "hvc1", {0}});
  EXPECT_TRUE(factsWith(builder).primaryImage);
  EXPECT_EQ(factsWith(builder).imageCount, 2u);
}

}  // namespace
}  // namespace quellor::heif
