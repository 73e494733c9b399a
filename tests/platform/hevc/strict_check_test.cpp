// The check that runs at the same time as a decoder, and remembers.

#include <future>

#include <gtest/gtest.h>

#include "tests/platform/hevc/hevc_judges.h"

namespace quellor::hevc {
namespace {

using test_support::HevcPlan;
using test_support::writeHevc;
using test_support::WrittenHevc;

Judgement strictly(const WrittenHevc& picture, std::launch when) {
  NalStream stream = streamOf(picture.behindLengths());
  const ByteView bytes = stream.bytes(0);
  return StrictCheck(stream, bytes, when).judgement();
}

TEST(StrictCheck, JudgesAsItIsJudgedAtOnce) {
  // The second time a picture is remembered, unless it is damaged.
  for (const std::launch when : {std::launch::async, std::launch::deferred, std::launch::async}) {
    HevcPlan plan;
    plan.unitsPerSlice = 5;
    EXPECT_EQ(strictly(writeHevc(plan), when).verdict, Verdict::intact);
    WrittenHevc damaged = writeHevc(plan);
    damaged.segments.pop_back();
    EXPECT_EQ(strictly(damaged, when).verdict, Verdict::damaged);
    EXPECT_STREQ(strictly(damaged, when).reason, "the slice segments do not cover the picture");
    plan.rangeExtension = 1;
    EXPECT_EQ(strictly(writeHevc(plan), when).verdict, Verdict::unknown);
    EXPECT_STREQ(strictly(writeHevc(plan), when).reason, "a tool of the range or screen content extensions");
    plan.rangeExtension = 0;
    plan.sao = true;
    EXPECT_TRUE(strictly(writeHevc(plan), when).exemptsChromaFromOffset);
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
