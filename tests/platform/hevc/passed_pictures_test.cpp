// The check that remembers which pictures passed.

#include <gtest/gtest.h>

#include "tests/platform/hevc/hevc_judges.h"

namespace quellor::hevc {
namespace {

using test_support::HevcPlan;
using test_support::writeHevc;
using test_support::WrittenHevc;

Judgement judged(const WrittenHevc& picture) { return judgementOf(streamOf(picture.behindLengths())); }

TEST(JudgementOf, SaysTheSameWhenThePictureIsRemembered) {
  for (int time = 0; time < 3; ++time) {
    HevcPlan plan;
    plan.unitsPerSlice = 5;
    EXPECT_EQ(judged(writeHevc(plan)).verdict, Verdict::intact);
    WrittenHevc damaged = writeHevc(plan);
    damaged.segments.pop_back();
    EXPECT_EQ(judged(damaged).verdict, Verdict::damaged);
    EXPECT_STREQ(judged(damaged).reason, "the slice segments do not cover the picture");
    plan.rangeExtension = 1;
    EXPECT_EQ(judged(writeHevc(plan)).verdict, Verdict::unknown);
    EXPECT_STREQ(judged(writeHevc(plan)).reason, "a tool of the range or screen content extensions");
    plan.rangeExtension = 0;
    plan.sao = true;
    EXPECT_TRUE(judged(writeHevc(plan)).exemptsChromaFromOffset);
  }
}

TEST(DecodedItem, HandsTheReasonOfTheCheckOn) {
  const HevcPlan plan;
  WrittenHevc picture = writeHevc(plan);
  picture.segments.back().push_back(1);
  const auto raster = test_support::imageFormat("HEIF").decode(fileOf(picture, plan));
  EXPECT_STREQ(raster.reason(), "a slice segment's code does not end with its data");
}

}  // namespace
}  // namespace quellor::hevc
