// The check that remembers which pictures passed.

#include <atomic>

#include <gtest/gtest.h>

#include "platform/threads/threads.h"
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

/// How many times the code of the picture is followed on threads.
int timesFollowed(const WrittenHevc& picture) {
  int times = 0;
  for (int call = 0; call < 3; ++call) {
    (void)judgementOf(streamOf(picture.behindLengths()), [&times](std::size_t count, const auto& task) {
      ++times;
      for (std::size_t i = 0; i < count; ++i) task(i);
    });
  }
  return times;
}

HevcPlan largeWavefront() {
  HevcPlan plan;
  plan.content = test_support::HevcContent::pcm;
  plan.width = plan.height = 160;
  plan.wavefront = true;
  return plan;
}

TEST(JudgementOf, FollowsTheCodeOfAPictureThatPassedOnce) {
  EXPECT_EQ(timesFollowed(writeHevc(largeWavefront())), 1);
  WrittenHevc other = writeHevc(largeWavefront());
  other.segments[0][other.headers[0] + 40] ^= 1;  // a sample
  EXPECT_EQ(judged(other).verdict, Verdict::intact);
  EXPECT_EQ(timesFollowed(other), 0);
}

TEST(JudgementOf, FollowsTheCodeOfADamagedPictureAgain) {
  WrittenHevc picture = writeHevc(largeWavefront());
  picture.segments[0].push_back(1);
  EXPECT_EQ(timesFollowed(picture), 3);
}

TEST(JudgementOf, StartsNoThreadsForASmallPicture) {
  HevcPlan plan = largeWavefront();
  plan.width = 16;
  EXPECT_EQ(timesFollowed(writeHevc(plan)), 0);
}

// What a unit has less at its end, the next one may have more at its beginning.
TEST(JudgementOf, TellsPicturesApartByWhereTheirUnitsEnd) {
  HevcPlan plan;
  plan.unitsPerSlice = 8;
  WrittenHevc picture = writeHevc(plan);
  EXPECT_EQ(judged(picture).verdict, Verdict::intact);
  const std::uint8_t last = picture.segments[0].back();
  picture.segments[0].pop_back();
  picture.segments[1].insert(picture.segments[1].begin() + 2, last);
  EXPECT_EQ(judged(picture).verdict, Verdict::damaged);
}

TEST(JudgementOf, IsTheSameWhenThreadsAskAtOnce) {
  HevcPlan plan = largeWavefront();
  plan.seed = 7;
  const NalStream stream = streamOf(writeHevc(plan).behindLengths());
  std::atomic<int> intact = 0;
  forEachIndex(16, 4, [&](std::size_t) {
    intact += judgementOf(stream).verdict == Verdict::intact ? 1 : 0;
    return true;
  });
  EXPECT_EQ(intact, 16);
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
