// What is said of a picture hash without comparing it.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/platform/hevc/hevc_judges.h"
#include "tests/support/hevc_bit_writer.h"
#include "tests/support/raster_fixture.h"

namespace quellor::hevc {
namespace {

using test_support::HevcPlan;
using test_support::nalUnit;
using test_support::writeHevc;
using test_support::WrittenHevc;

bool mayHoldHash(const Bytes& units) {
  const auto shape = shapeOf(streamOf(units).units());
  EXPECT_TRUE(shape);
  return shape && shape->hasPictureHash;
}

/// 0: none; else MD5, a cyclic redundancy check, a checksum.
Bytes encodedWithHash(const std::string& kind) {
  test_support::RasterPlan plan;
  plan.width = plan.height = 64;
  const Raster raster = test_support::makeRaster(plan, test_support::noise(8));
  return unitsOf(test_support::codeWithX265(raster, "fast", {{"hash", kind}, {"info", "1"}, {"pools", "1"}}));
}

TEST(PictureHash, IsSeenInAnEncodersPictures) {
  EXPECT_FALSE(mayHoldHash(encodedWithHash("0"))) << "but for what the encoder says of itself";
  for (const char* const kind : {"1", "2", "3"}) EXPECT_TRUE(mayHoldHash(encodedWithHash(kind))) << kind;
}

/// A written picture with one more unit of that type.
bool mayHoldHash(unsigned type, const Bytes& payload) {
  WrittenHevc picture = writeHevc(HevcPlan());
  const Bytes unit = nalUnit(type, payload);
  if (type == kPrefixSeiUnit) {
    picture.parameterSets.push_back(unit);
  } else {
    picture.segments.push_back(unit);
  }
  return mayHoldHash(picture.behindLengths());
}

TEST(PictureHash, IsOneOfTheMessagesOfSupplementalInformation) {
  constexpr unsigned kAccessUnitDelimiter = 35;
  const Bytes hash = {132, 5, 2, 1, 2, 3, 4, 0x80};
  EXPECT_TRUE(mayHoldHash(kSuffixSeiUnit, hash));
  EXPECT_TRUE(mayHoldHash(kPrefixSeiUnit, hash));
  EXPECT_TRUE(mayHoldHash(kPrefixSeiUnit, {255, 1, 5, 2, 1, 2, 3, 4, 0x80})) << "256";
  EXPECT_TRUE(mayHoldHash(kSuffixSeiUnit, {5, 2, 7, 7, 132, 5, 2, 1, 2, 3, 4, 0x80})) << "behind another message";
  EXPECT_FALSE(mayHoldHash(kSuffixSeiUnit, {5, 2, 132, 5, 0x80})) << "inside another message";
  EXPECT_FALSE(mayHoldHash(kSuffixSeiUnit, {255, 132, 1, 7, 0x80})) << "387";
  EXPECT_FALSE(mayHoldHash(kAccessUnitDelimiter, hash));
}

TEST(PictureHash, MayBeInWhatCannotBeRead) {
  const std::vector<Bytes> payloads = {{0x80}, {5, 0x80}, {5, 1, 0x80}, {5, 2, 1, 0x80}, {255, 255}, {5, 1, 9, 0x40}};
  for (const Bytes& payload : payloads) EXPECT_TRUE(mayHoldHash(kSuffixSeiUnit, payload)) << payload.size();
}

}  // namespace
}  // namespace quellor::hevc
