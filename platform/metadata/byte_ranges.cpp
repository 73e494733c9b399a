#include "platform/metadata/byte_ranges.h"

#include <algorithm>

namespace quellor::metadata {

std::vector<ByteRange> ByteRanges::merged() const {
  std::vector<ByteRange> sorted = ranges_;
  std::sort(sorted.begin(), sorted.end(), [](const ByteRange& a, const ByteRange& b) { return a.begin < b.begin; });
  std::vector<ByteRange> merged;
  for (const ByteRange& range : sorted) {
    if (merged.empty() || range.begin > merged.back().end) {
      merged.push_back(range);
    } else {
      merged.back().end = std::max(merged.back().end, range.end);
    }
  }
  return merged;
}

std::vector<ByteRange> ByteRanges::without(const ByteRanges& others) const {
  const std::vector<ByteRange> holes = others.merged();
  std::vector<ByteRange> left;
  auto hole = holes.begin();
  for (ByteRange range : merged()) {
    while (hole != holes.end() && hole->end <= range.begin) ++hole;
    for (auto next = hole; next != holes.end() && next->begin < range.end; ++next) {
      if (next->begin > range.begin) left.push_back({range.begin, next->begin});
      range.begin = std::min(next->end, range.end);
    }
    if (range.begin < range.end) left.push_back(range);
  }
  return left;
}

}  // namespace quellor::metadata
