#include "platform/formats/hevc_configuration.h"

#include <gtest/gtest.h>

#include "platform/heif/derivations.h"
#include "tests/support/heif_builder.h"

namespace quellor::formats {
namespace {

using namespace heif;

using test_support::FieldWriter;

// The parameter sets of a picture of 64 x 64 luma samples, 8-bit 4:2:0, Main Still Picture profile, level 1.
const Bytes kVps = {0x40, 0x01, 0x0c, 0x01, 0xff, 0xff, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00,
                    0x90, 0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x1e, 0x95, 0x98, 0x09};
const Bytes kSps = {0x42, 0x01, 0x01, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00, 0x00, 0x03, 0x00,
                    0x00, 0x03, 0x00, 0x1e, 0xa0, 0x20, 0x81, 0x05, 0x96, 0x56, 0x6a, 0xbc, 0xae, 0x68,
                    0x08, 0x00, 0x00, 0x03, 0x00, 0x08, 0x00, 0x00, 0x03, 0x00, 0xc8, 0x40};
const Bytes kPps = {0x44, 0x01, 0xc1, 0x73, 0xd1, 0x09};

/// The record by the fields of ISO/IEC 14496-15, 8.3.3.1.2.
Bytes expectedRecord() {
  FieldWriter fields;
  fields.u8(1);                                                // version
  fields.u8(0x01).u32(0x60000000).u32(0x90000000).u16(0);      // profile, compatibility, constraints
  fields.u8(0x1e);                                             // level
  fields.u16(0xF000).u8(0xFC).u8(0xFC | 1).u8(0xF8).u8(0xF8);  // segments, parallelism, 4:2:0, 8 bits twice
  fields.u16(0).u8(0x0F).u8(3);                                // rate; one nested layer, lengths of four; three arrays
  for (const Bytes& set : {kVps, kSps, kPps}) fields.u8(0x80 | (set[0] >> 1)).u16(1).u16(set.size()).append(set);
  return fields.bytes;
}

TEST(HevcConfiguration, IsWrittenFieldByField) {
  const auto written = hevcConfigurationBox({kVps, kSps, kPps});
  ASSERT_TRUE(written);
  EXPECT_EQ(*written, test_support::box("hvcC", expectedRecord()));
  EXPECT_EQ(hevcConfigurationBox({kPps, kVps, kSps}), written) << "whatever order they come in";
}

TEST(HevcConfiguration, IsNotWrittenWithoutAllParameterSets) {
  EXPECT_FALSE(hevcConfigurationBox({}));
  EXPECT_FALSE(hevcConfigurationBox({kVps, kSps}));
  EXPECT_FALSE(hevcConfigurationBox({kVps, kPps}));
  EXPECT_FALSE(hevcConfigurationBox({kSps, kPps}));
  EXPECT_FALSE(hevcConfigurationBox({kVps, ByteView(kSps).first(8), kPps})) << "a set that cannot be read";
  EXPECT_FALSE(hevcConfigurationBox({kVps, ByteView(kSps).first(1), kPps}));
}

TEST(HevcConfiguration, ReadsWhatItWrites) {
  const Bytes record = expectedRecord();
  const auto configuration = readHevcConfiguration(record);
  ASSERT_TRUE(configuration);
  EXPECT_EQ(configuration->lengthSize, 4U);
  EXPECT_EQ(configuration->chromaFormat, 1U);
  EXPECT_EQ(configuration->bitDepthLuma, 8);
  EXPECT_EQ(configuration->units.size(), 3U);
  const auto set = sequenceParameterSetOf(*configuration);
  ASSERT_TRUE(set);
  EXPECT_EQ(set->shownWidth, 64U);
  EXPECT_EQ(set->shownHeight, 64U);
}

TEST(HevcConfiguration, ThatIsCutShortIsNone) {
  const Bytes record = expectedRecord();
  for (std::size_t size = 0; size < record.size(); ++size) {
    EXPECT_FALSE(readHevcConfiguration(ByteView(record).first(size))) << size;
  }
  Bytes threeBytes = record;
  threeBytes[21] = 0x0E;
  EXPECT_FALSE(readHevcConfiguration(threeBytes)) << "no length has three bytes";
}

TEST(ImageGrid, IsReadWithFieldsOfEitherSize) {
  const Bytes narrow = {0, 0, 2, 3, 0x0F, 0xC0, 0x0B, 0xD0};
  const Bytes wide = {0, 1, 2, 3, 0, 0, 0x0F, 0xC0, 0, 0, 0x0B, 0xD0};
  for (const Bytes& data : {narrow, wide}) {
    const auto grid = readImageGrid(data);
    ASSERT_TRUE(grid);
    EXPECT_EQ(grid->rows, 3U);
    EXPECT_EQ(grid->columns, 4U);
    EXPECT_EQ(grid->size.width, 4032U);
    EXPECT_EQ(grid->size.height, 3024U);
    for (std::size_t size = 0; size < data.size(); ++size) EXPECT_FALSE(readImageGrid(ByteView(data).first(size)));
  }
  EXPECT_FALSE(readImageGrid(Bytes{1, 0, 2, 3, 0x0F, 0xC0, 0x0B, 0xD0})) << "an unknown version";
  EXPECT_FALSE(readImageGrid(Bytes{0, 0, 2, 3, 0, 0, 0x0B, 0xD0})) << "no column";
}

TEST(ImageOverlay, IsReadWithFieldsOfEitherSize) {
  FieldWriter narrow, wide;
  narrow.u8(0).u8(0).u16(1).u16(2).u16(3).u16(4).u16(100).u16(50).u16(0xFFFE).u16(0x7FFF);
  wide.u8(0).u8(1).u16(1).u16(2).u16(3).u16(4).u32(100).u32(50).u32(0xFFFFFFFE).u32(0x7FFF);
  for (const Bytes& data : {narrow.bytes, wide.bytes}) {
    const auto overlay = readImageOverlay(data, 1);
    ASSERT_TRUE(overlay);
    EXPECT_EQ(overlay->fill[0], 1);
    EXPECT_EQ(overlay->fill[2], 3);
    EXPECT_EQ(overlay->size.width, 100U);
    EXPECT_EQ(overlay->offsets.at(0).x, -2);
    EXPECT_EQ(overlay->offsets.at(0).y, 0x7FFF);
    EXPECT_FALSE(readImageOverlay(data, 2)) << "an offset is missing";
    for (std::size_t size = 0; size < data.size(); ++size) {
      EXPECT_FALSE(readImageOverlay(ByteView(data).first(size), 1)) << size;
    }
  }
}

}  // namespace
}  // namespace quellor::formats
