// What is said of supplemental information without looking into it.

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

bool needDecoder(const Bytes& units) {
  const auto shape = shapeOf(streamOf(units).units());
  EXPECT_TRUE(shape);
  return shape && shape->supplementsNeedDecoder;
}

/// 0: none; else MD5, a cyclic redundancy check, a checksum.
Bytes encodedWithHash(const std::string& kind) {
  test_support::RasterPlan plan;
  plan.width = plan.height = 64;
  const Raster raster = test_support::makeRaster(plan, test_support::noise(8));
  return unitsOf(test_support::codeWithX265(raster, "fast", {{"hash", kind}, {"info", "1"}, {"pools", "1"}}));
}

TEST(SupplementalInformation, NeedsADecoderWhereAnEncoderWroteAHash) {
  EXPECT_FALSE(needDecoder(encodedWithHash("0"))) << "but for what the encoder says of itself";
  for (const char* const kind : {"1", "2", "3"}) EXPECT_TRUE(needDecoder(encodedWithHash(kind))) << kind;
}

/// A written picture with one more unit of that type.
bool needDecoder(unsigned type, const Bytes& payload) {
  WrittenHevc picture = writeHevc(HevcPlan());
  const Bytes unit = nalUnit(type, payload);
  if (type == kPrefixSeiUnit) {
    picture.parameterSets.push_back(unit);
  } else {
    picture.segments.push_back(unit);
  }
  return needDecoder(picture.behindLengths());
}

const Bytes kHash = {132, 5, 2, 1, 2, 3, 4};
const Bytes kUserData = {5, 17, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};

Bytes messages(const std::vector<Bytes>& all) {
  Bytes payload;
  for (const Bytes& message : all) payload.insert(payload.end(), message.begin(), message.end());
  payload.push_back(0x80);
  return payload;
}

TEST(SupplementalInformation, NeedsADecoderWhereItHoldsAHash) {
  EXPECT_TRUE(needDecoder(kSuffixSeiUnit, messages({kHash})));
  EXPECT_TRUE(needDecoder(kPrefixSeiUnit, messages({kHash})));
  EXPECT_TRUE(needDecoder(kSuffixSeiUnit, messages({kUserData, kHash})));
  EXPECT_TRUE(needDecoder(kPrefixSeiUnit, messages({{255, 1, 1, 2}}))) << "256, the number of the hash in a draft";
}

TEST(SupplementalInformation, NeedsNoDecoderWhereItIsUserDataOrNotThere) {
  constexpr unsigned kAccessUnitDelimiter = 35;
  EXPECT_FALSE(needDecoder(kPrefixSeiUnit, messages({kUserData})));
  EXPECT_FALSE(needDecoder(kSuffixSeiUnit, messages({kUserData, kUserData})));
  EXPECT_FALSE(needDecoder(kAccessUnitDelimiter, messages({kHash})));
}

TEST(SupplementalInformation, NeedsADecoderWhereItCannotBeRead) {
  Bytes longer = kUserData;
  longer[1] = 200;
  const Bytes shorter = {5, 15, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  Bytes unended = messages({kUserData});
  unended.back() = 0x40;
  for (const Bytes& payload : {messages({}), messages({longer}), messages({shorter}), kUserData, unended}) {
    EXPECT_TRUE(needDecoder(kSuffixSeiUnit, payload)) << payload.size();
  }
}

}  // namespace
}  // namespace quellor::hevc
