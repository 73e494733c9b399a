#include "storage/raw_pixel_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::FakePlatform;
using ::testing::ElementsAre;

Bytes writtenFor(const Bytes& pixels, std::int64_t width, std::int64_t height) {
  const FakePlatform platform;
  writeStorageRawFile(platform.files, "/out.raw", pixels, width, height);
  EXPECT_THAT(platform.calls, ElementsAre("write /out.raw")) << "no look at what is there";
  return platform.files.written.at("/out.raw");
}

TEST(RawPixelFile, IsTheHeaderAndThenThePixels) {
  const Bytes pixels = {0xFF, 0, 0, 0xFF, 0, 0, 0xFF, 0xFF};
  EXPECT_THAT(writtenFor(pixels, 2, 1), ElementsAre(0x52, 0x47, 0x42, 0x41, 1, 2, 0, 0, 0, 1, 0, 0, 0, 4, 0,  //
                                                    0xFF, 0, 0, 0xFF, 0, 0, 0xFF, 0xFF));
}

TEST(RawPixelFile, HoldsThePixelsAsGivenWhateverTheirNumber) {
  EXPECT_EQ(writtenFor({}, 2, 1).size(), 15u);
  EXPECT_EQ(writtenFor({1, 2, 3}, 1, 1).size(), 18u);
}

TEST(RawPixelFile, PassesOnAFailedWrite) {
  FakePlatform platform;
  platform.files.writeFailure = "no room";
  EXPECT_THROW(writeStorageRawFile(platform.files, "/out.raw", {}, 1, 1), FileError);
}

TEST(RawFileHeader, HasSizesInLittleEndianOrder) {
  EXPECT_THAT(rawFileHeader(0x01020304, 0xA0B0C0D0),
              ElementsAre('R', 'G', 'B', 'A', 1, 4, 3, 2, 1, 0xD0, 0xC0, 0xB0, 0xA0, 4, 0));
  EXPECT_THAT(rawFileHeader(0, 4294967295),
              ElementsAre('R', 'G', 'B', 'A', 1, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 4, 0));
}

TEST(RawFileHeaderDeathTest, StopsTheProcessOnASizeThatDoesNotFit) {
  EXPECT_DEATH(rawFileHeader(-1, 1), "");
  EXPECT_DEATH(rawFileHeader(1, -1), "");
  EXPECT_DEATH(rawFileHeader(4294967296, 1), "");
  EXPECT_DEATH(rawFileHeader(1, 4294967296), "");
  EXPECT_DEATH(rawFileHeader(INT64_MIN, INT64_MAX), "");
}

}  // namespace
}  // namespace quellor
