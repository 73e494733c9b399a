#include <atomic>
#include <new>
#include <vector>

#include <gtest/gtest.h>

#include "platform/threads/threads.h"

namespace quellor {
namespace {

TEST(ForEachIndex, DoesEveryIndexOnceAndStopsAtTheFirstFailure) {
  std::vector<std::atomic<int>> done(100);
  EXPECT_TRUE(forEachIndex(done.size(), 4, [&](std::size_t index) { return ++done[index] == 1; }));
  for (const auto& count : done) EXPECT_EQ(count, 1);
  std::atomic<int> begun = 0;
  EXPECT_FALSE(forEachIndex(1000000, 2, [&](std::size_t) { return ++begun < 10; }));
  EXPECT_LT(begun, 20);
  EXPECT_THROW(forEachIndex(3, 2, [](std::size_t) -> bool { throw std::bad_alloc(); }), std::bad_alloc);
  EXPECT_TRUE(forEachIndex(0, 2, [](std::size_t) { return false; })) << "nothing to do";
}

// In any other order this would wait for ever.
TEST(ForEachIndex, LetsACallWaitForThoseOfLowerIndex) {
  std::vector<std::atomic<bool>> done(200);
  for (const unsigned threads : {1U, 2U, 5U}) {
    for (auto& flag : done) flag = false;
    EXPECT_TRUE(forEachIndex(done.size(), threads, [&done](std::size_t index) {
      if (index > 0) done[index - 1].wait(false);
      done[index] = true;
      done[index].notify_all();
      return true;
    }));
  }
}

}  // namespace
}  // namespace quellor
