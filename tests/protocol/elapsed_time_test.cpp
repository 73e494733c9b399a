#include "protocol/elapsed_time.h"

#include <limits>

#include <gtest/gtest.h>

namespace quellor {
namespace {

TEST(ElapsedTime, IsTruncatedTowardZero) {
  const struct {
    double start, now;
    std::int64_t milliseconds;
  } cases[] = {{0.0, 0.0129, 12}, {0.0, 0.0, 0},     {10.0, 11.5, 1500},
               {0.0, 0.0009, 0},  {1.0, 0.0, -1000}, {0.0129, 0.0, -12}};
  for (const auto& c : cases) EXPECT_EQ(elapsedMilliseconds(c.start, c.now), c.milliseconds) << c.now - c.start;
}

TEST(ElapsedTime, ReachesToTheEdgeOf64Bits) {
  EXPECT_EQ(elapsedMilliseconds(0.0, 9.2e15), 9'200'000'000'000'000'000);
  EXPECT_EQ(elapsedMilliseconds(9.2e15, 0.0), -9'200'000'000'000'000'000);
  EXPECT_EQ(elapsedMilliseconds(9223372036854775.808, 0.0), std::numeric_limits<std::int64_t>::min());
}

TEST(ElapsedTimeDeathTest, StopsTheProcessWhenNoIntegerHoldsIt) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_DEATH(elapsedMilliseconds(0.0, 9223372036854775.808), "");
  EXPECT_DEATH(elapsedMilliseconds(9.3e15, 0.0), "");
  EXPECT_DEATH(elapsedMilliseconds(0.0, infinity), "");
  EXPECT_DEATH(elapsedMilliseconds(infinity, infinity), "");
}

TEST(WallClock, CountsSecondsSinceTheEpoch) {
  const double year2025 = 1735689600.0;
  EXPECT_GT(wallClockNow(), year2025);
  EXPECT_LE(elapsedMillisecondsSince(wallClockNow()), 1000);
}

}  // namespace
}  // namespace quellor
