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

}  // namespace
}  // namespace quellor
