#include "platform/metadata/tiff_metadata_block.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/exif_directories.h"
#include "tests/support/exif_reading.h"
#include "tests/support/tiff_structure.h"

namespace quellor {
namespace {

using test_support::entriesOf;
using test_support::ExifEntry;
using test_support::TiffStructure;
using Entry = TiffStructure::Entry;

class TiffMetadataBlock : public testing::TestWithParam<bool> {
 protected:
  TiffStructure file{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(BothByteOrders, TiffMetadataBlock, testing::Bool());

TEST_P(TiffMetadataBlock, HoldsTheDescriptiveTagsOnly) {
  file.directory({file.shortEntry(256, 640), file.shortEntry(259, 5), TiffStructure::textEntry(271, "Maker"),
                  file.longEntry(273, 8), file.shortEntry(274, 6), file.rationalEntry(282, 300, 1),
                  TiffStructure::textEntry(316, "box"), file.longEntry(330, 8),
                  TiffStructure::undefinedEntry(700, Bytes(50, 'x')), file.shortEntry(18246, 4),
                  TiffStructure::textEntry(33432, "(c)"), TiffStructure::undefinedEntry(34377, Bytes(50, '8'))});
  const auto block = exifBlockFromTiff(file.bytes());
  ASSERT_TRUE(block);
  EXPECT_EQ((*block)[0], file.bytes()[0]);  // the byte order stays
  std::vector<std::uint16_t> tags;
  for (const ExifEntry& entry : entriesOf(*block)) tags.push_back(entry.tag);
  EXPECT_EQ(tags, (std::vector<std::uint16_t>{271, 274, 282, 316, 18246, 33432}));
}

TEST_P(TiffMetadataBlock, CopiesTheExifAndGpsDirectories) {
  const std::vector<Entry> exif = {file.rationalEntry(33434, 1, 60), file.longEntry(0xA005, 8),
                                   TiffStructure::undefinedEntry(37500, Bytes(333, 'm')), file.shortEntry(50000, 1)};
  const std::vector<Entry> gps = {TiffStructure::textEntry(1, "S"), file.rationalEntry(6, 12, 10)};
  std::vector<Entry> first = {file.longEntry(0x8769, 0), file.longEntry(0x8825, 0),
                              TiffStructure::textEntry(40091, "title")};
  const std::uint32_t exifAt = 8 + TiffStructure::sizeOf(first);
  first[0] = file.longEntry(0x8769, exifAt);
  first[1] = file.longEntry(0x8825, exifAt + TiffStructure::sizeOf(exif));
  file.directory(first).directory(exif).directory(gps);

  const auto block = exifBlockFromTiff(file.bytes());
  ASSERT_TRUE(block);
  auto expected = entriesOf(file.bytes());
  auto found = entriesOf(*block);
  const auto isPointer = [](const ExifEntry& entry) { return metadata::exif_tag::isPointer(entry.tag); };
  std::erase_if(expected, isPointer);
  std::erase_if(found, isPointer);
  EXPECT_EQ(found, expected);

  const auto directories = metadata::readExifDirectories(*block);
  ASSERT_TRUE(directories);
  ASSERT_EQ(directories->exif.size(), 1U);
  ASSERT_EQ(directories->gps.size(), 1U);
  EXPECT_TRUE(directories->interoperability.empty());
  EXPECT_TRUE(directories->thumbnails.empty());
  for (const metadata::TiffEntry& entry : directories->first.entries) EXPECT_EQ(entry.valuePosition % 2, 0U);
  for (const metadata::TiffEntry& entry : directories->exif.front().entries) EXPECT_EQ(entry.valuePosition % 2, 0U);
}

TEST(TiffMetadataBlockAbsence, IsWhereNothingDescribesTheImage) {
  const TiffStructure numbers(false);
  EXPECT_FALSE(exifBlockFromTiff({}));
  EXPECT_FALSE(exifBlockFromTiff(Bytes(100, 'I')));
  EXPECT_FALSE(exifBlockFromTiff(TiffStructure(false).directory({numbers.shortEntry(256, 1)}).bytes()));
  const Entry cut = {271, 2, 1000, numbers.number(8, 4)};
  EXPECT_FALSE(exifBlockFromTiff(TiffStructure(false).directory({cut}).bytes()));
}

TEST(TiffMetadataBlockSize, IsNeverMuchMoreThanTheFile) {
  const TiffStructure numbers(true);
  std::vector<Entry> exif;
  for (std::uint16_t tag = 0; tag < 1000; ++tag) exif.push_back({tag, 7, 10000, numbers.number(8, 4)});
  TiffStructure file(true);
  file.directory({numbers.longEntry(0x8769, 8 + 2 + 12 + 4)}).directory(exif);
  const auto block = exifBlockFromTiff(file.bytes());
  ASSERT_TRUE(block);
  EXPECT_LT(block->size(), 2 * file.bytes().size());
}

}  // namespace
}  // namespace quellor
