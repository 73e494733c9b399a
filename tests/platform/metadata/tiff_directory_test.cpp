#include "platform/metadata/tiff_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/exif_directories.h"
#include "tests/support/tiff_structure.h"

namespace quellor::metadata {
namespace {

using test_support::TiffStructure;
using testing::Optional;

class TiffDirectory : public testing::TestWithParam<bool> {
 protected:
  TiffStructure structure{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(BothByteOrders, TiffDirectory, testing::Bool());

TEST_P(TiffDirectory, SaysWhereEntriesAndValuesStand) {
  structure.directory({structure.shortEntry(0x0112, 6), structure.rationalEntry(0x011A, 72, 1)}, 4711);
  const auto header = readTiffHeader(structure.bytes());
  ASSERT_TRUE(header);
  EXPECT_EQ(header->firstDirectoryOffset, 8U);
  const auto directory = readTiffDirectory(header->block, 8);
  ASSERT_TRUE(directory);
  EXPECT_TRUE(directory->complete);
  EXPECT_EQ(directory->nextOffset, 4711U);
  ASSERT_EQ(directory->entries.size(), 2U);
  EXPECT_EQ(directory->entries[0].position, 10U);
  EXPECT_EQ(directory->entries[0].valuePosition, 18U);  // inside the entry
  EXPECT_EQ(directory->entries[0].valueSize, 2U);
  EXPECT_EQ(directory->entries[1].position, 22U);
  EXPECT_EQ(directory->entries[1].valuePosition, 38U);  // right behind the directory: 8 + 2 + 2 * 12 + 4
  EXPECT_EQ(directory->entries[1].valueSize, 8U);
  EXPECT_THAT(unsignedValue(header->block, directory->entries[0]), Optional(6U));
}

TEST_P(TiffDirectory, KeepsEntriesOfUnreadableValues) {
  const Bytes far = structure.number(0xFFFFFFF0, 4);
  const Bytes last = structure.number(8 + 2 + 6 * 12 + 4 - 7, 4);  // 7 bytes before the end
  structure.directory({{1, 5, 1, far},
                       {2, 5, 1, last},
                       {3, 12, 0x20000001, last},  // 8 times the count is 8 in 32 bits
                       {4, 0, 1, last},
                       {5, 14, 1, last},
                       {6, 2, 7, last}});
  const auto directory = readTiffDirectory(readTiffHeader(structure.bytes())->block, 8);
  ASSERT_EQ(directory->entries.size(), 6U);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_FALSE(directory->entries[i].valueReadable) << i + 1;
  EXPECT_TRUE(directory->entries[5].valueReadable);
  EXPECT_EQ(directory->find(1), nullptr);
}

TEST_P(TiffDirectory, OfACutBlockHasTheEntriesThatAreLeft) {
  structure.directory({structure.shortEntry(1, 1), structure.shortEntry(2, 2), structure.shortEntry(3, 3)});
  const ByteView cut = ByteView(structure.bytes()).first(8 + 2 + 2 * 12 + 11);
  const auto directory = readTiffDirectory(readTiffHeader(cut)->block, 8);
  ASSERT_TRUE(directory);
  EXPECT_EQ(directory->entries.size(), 2U);
  EXPECT_FALSE(directory->complete);
  EXPECT_EQ(directory->nextOffset, 0U);
}

TEST_P(TiffDirectory, CountsOffsetsFromTheBase) {
  structure.directory({{1, 5, 1, structure.number(0, 4)}});
  TiffBlock block = readTiffHeader(structure.bytes())->block;
  block.base = block.bytes.size() - 8;
  const auto directory = readTiffDirectory(block, 8);
  ASSERT_TRUE(directory->entries[0].valueReadable);
  EXPECT_EQ(directory->entries[0].valuePosition, block.base);
  block.base = block.bytes.size();
  EXPECT_FALSE(readTiffDirectory(block, 8)->entries[0].valueReadable);
}

TEST(TiffHeader, RefusesWhatIsNoClassicTiff) {
  const struct {
    const char* why;
    Bytes bytes;
  } cases[] = {
      {"nothing", {}},
      {"half a mark", {'I'}},
      {"mixed mark", {'I', 'M', 42, 0, 8, 0, 0, 0}},
      {"magic in the other order", {'M', 'M', 42, 0, 8, 0, 0, 0}},
      {"BigTIFF", {'I', 'I', 43, 0, 8, 0, 0, 0}},
      {"offset cut off", {'I', 'I', 42, 0, 8, 0, 0}},
      {"prefix of the JPEG segment", {'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0}},
  };
  for (const auto& c : cases) EXPECT_FALSE(readTiffHeader(c.bytes)) << c.why;
}

TEST(ExifDirectories, AreEachReadOnceHoweverTheyPointAtEachOther) {
  TiffStructure structure(true);
  structure.directory({structure.longEntry(0x8769, 8), structure.longEntry(0x8825, 8)}, 8);
  const auto directories = readExifDirectories(structure.bytes());
  ASSERT_TRUE(directories);
  EXPECT_EQ(directories->first.entries.size(), 2U);
  EXPECT_TRUE(directories->exif.empty());
  EXPECT_TRUE(directories->gps.empty());
  EXPECT_TRUE(directories->thumbnails.empty());
}

std::vector<std::size_t> positionsOf(const std::vector<metadata::TiffDirectory>& directories) {
  std::vector<std::size_t> positions;
  for (const metadata::TiffDirectory& each : directories) positions.push_back(each.position);
  return positions;
}

TEST(ExifDirectories, AreFoundThroughTheirPointers) {
  TiffStructure structure(false);
  const std::uint32_t exif = 8 + 2 + 12 + 4;
  const std::uint32_t gps = exif + 2 + 2 * 12 + 4;
  const std::uint32_t interoperability = gps + 2 + 4;
  const std::uint32_t thumbnail = interoperability + 2 + 4;
  structure.directory({structure.longEntry(0x8769, exif)}, thumbnail)
      .directory({structure.longEntry(0x8825, gps), structure.longEntry(0xA005, interoperability)})
      .directory({})
      .directory({})
      .directory({});
  const auto directories = readExifDirectories(structure.bytes());
  ASSERT_TRUE(directories);
  EXPECT_EQ(positionsOf(directories->exif), std::vector<std::size_t>{exif});
  EXPECT_EQ(positionsOf(directories->gps), std::vector<std::size_t>{gps});
  EXPECT_EQ(positionsOf(directories->interoperability), std::vector<std::size_t>{interoperability});
  EXPECT_EQ(positionsOf(directories->thumbnails), std::vector<std::size_t>{thumbnail});
}

TEST(ExifDirectories, AreAllFoundUpToALimitWherePointersAreRepeated) {
  TiffStructure structure(true);
  std::vector<TiffStructure::Entry> first;
  for (std::uint32_t i = 0; i < kMaximumExifDirectories + 2; ++i) first.push_back(structure.longEntry(0x8825, 0));
  const std::uint32_t end = 8 + TiffStructure::sizeOf(first);
  for (std::uint32_t i = 0; i < first.size(); ++i) first[i] = structure.longEntry(0x8825, end + 6 * i);
  structure.directory(first);
  for (std::size_t i = 0; i < first.size(); ++i) structure.directory({});
  EXPECT_EQ(readExifDirectories(structure.bytes())->gps.size(), kMaximumExifDirectories);
}

TEST(ExifDirectories, AreNotFoundWhereALinkLeadsToSomethingElse) {
  const TiffStructure n(true);
  const std::uint32_t text = 8 + 2 + 12 + 4;
  const Bytes block =
      TiffStructure(true).directory({TiffStructure::textEntry(305, "\001\001 no directory")}, text).bytes();
  EXPECT_TRUE(readExifDirectories(block)->thumbnails.empty());
}

TEST(ExifDirectories, NeedTheFirstOneInsideTheBlock) {
  EXPECT_FALSE(readExifDirectories(TiffStructure(false, 8).bytes()));
  EXPECT_FALSE(readExifDirectories(TiffStructure(false, 7).bytes()));  // half of an entry count
  EXPECT_FALSE(readExifDirectories(TiffStructure(false, 0xFFFFFFFF).bytes()));
}

}  // namespace
}  // namespace quellor::metadata
