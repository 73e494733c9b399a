#include "platform/metadata/byte_ranges.h"

#include <gtest/gtest.h>

namespace quellor::metadata {
namespace {

using Ranges = std::vector<ByteRange>;

ByteRanges setOf(const Ranges& ranges) {
  ByteRanges set;
  for (const ByteRange& range : ranges) set.add(range.begin, range.end - range.begin);
  return set;
}

TEST(ByteRanges, MergeWhatOverlapsOrTouches) {
  EXPECT_EQ(setOf({{8, 10}, {0, 2}, {2, 3}, {9, 12}, {20, 20}}).merged(), (Ranges{{0, 3}, {8, 12}}));
}

TEST(ByteRanges, LeaveOutTheBytesOfOthers) {
  const struct {
    const char* what;
    Ranges set, others, left;
  } cases[] = {
      {"nothing to leave out", {{1, 3}}, {}, {{1, 3}}},
      {"others beside it", {{4, 8}}, {{0, 4}, {8, 9}}, {{4, 8}}},
      {"a hole", {{0, 10}}, {{3, 5}}, {{0, 3}, {5, 10}}},
      {"both ends", {{2, 8}}, {{0, 3}, {7, 9}}, {{3, 7}}},
      {"all of it", {{2, 8}}, {{0, 20}}, {}},
      {"one hole over two ranges", {{0, 4}, {6, 10}}, {{2, 8}}, {{0, 2}, {8, 10}}},
      {"many holes in one range", {{0, 10}}, {{1, 2}, {4, 5}, {9, 10}}, {{0, 1}, {2, 4}, {5, 9}}},
  };
  for (const auto& c : cases) EXPECT_EQ(setOf(c.set).without(setOf(c.others)), c.left) << c.what;
}

}  // namespace
}  // namespace quellor::metadata
