// residual_coding() of ITU-T H.265, 7.3.8.11, with the contexts of 9.3.4.2.4 to 9.3.4.2.7 and the binarizations of
// 9.3.3, straight from the standard.

#include <cstdlib>
#include <utility>

#include "tests/support/hevc_unit_writer.h"

namespace quellor::test_support {
namespace {

using Place = std::pair<unsigned, unsigned>;  // x, y

// 6.5.3
std::vector<Place> diagonalScan(unsigned side) {
  std::vector<Place> scan;
  for (int sum = 0; sum < 2 * static_cast<int>(side) - 1; ++sum) {
    for (int y = sum; y >= 0; --y) {
      const int x = sum - y;
      if (x < static_cast<int>(side) && y < static_cast<int>(side)) scan.emplace_back(x, y);
    }
  }
  return scan;
}

class ResidualWriter {
 public:
  ResidualWriter(HevcArithmeticEncoder& encoder, HevcContexts& contexts, const HevcResidual& block)
      : encoder_(encoder), contexts_(contexts), block_(block), side_(1U << block.log2Size) {}

  void write() {
    const int count = static_cast<int>(subBlocks_.size());
    int last = count - 1;
    while (significantIn(last) == 0) --last;
    int lastPlace = 15;
    while (level(last, lastPlace) == 0) --lastPlace;
    writeLastPosition(place(last, lastPlace));
    for (int i = last; i >= 0; --i) writeSubBlock(i, i == last ? lastPlace : 16, i == last);
  }

 private:
  [[nodiscard]] Place place(int subBlock, int n) const {
    const auto [left, top] = subBlocks_[static_cast<std::size_t>(subBlock)];
    const auto [x, y] = inSubBlock_[static_cast<std::size_t>(n)];
    return {4 * left + x, 4 * top + y};
  }

  [[nodiscard]] int level(int subBlock, int n) const {
    const auto [x, y] = place(subBlock, n);
    return block_.levels[std::size_t{y} * side_ + x];
  }

  [[nodiscard]] int significantIn(int subBlock) const {
    int count = 0;
    for (int n = 0; n < 16; ++n) count += level(subBlock, n) != 0 ? 1 : 0;
    return count;
  }

  void writeLastPosition(Place last) {
    const unsigned prefixX = writeLastPrefix(contexts_.lastX, last.first);
    const unsigned prefixY = writeLastPrefix(contexts_.lastY, last.second);
    writeLastSuffix(prefixX, last.first);
    writeLastSuffix(prefixY, last.second);
  }

  static unsigned lastBase(unsigned prefix) {
    return prefix < 4 ? prefix : (1U << ((prefix >> 1) - 1)) * (2 + (prefix & 1U));
  }

  unsigned writeLastPrefix(std::array<HevcContext, 18>& contexts, unsigned coordinate) {
    const unsigned log2 = block_.log2Size;
    const unsigned offset = block_.chroma ? 15 : 3 * (log2 - 2) + ((log2 - 1) >> 2);
    const unsigned shift = block_.chroma ? log2 - 2 : (log2 + 1) >> 2;
    const unsigned maximum = 2 * log2 - 1;
    unsigned prefix = 0;
    while (prefix < maximum && lastBase(prefix + 1) <= coordinate) ++prefix;
    for (unsigned i = 0; i < prefix; ++i) encoder_.encode(contexts[offset + (i >> shift)], true);
    if (prefix < maximum) encoder_.encode(contexts[offset + (prefix >> shift)], false);
    return prefix;
  }

  void writeLastSuffix(unsigned prefix, unsigned coordinate) {
    if (prefix > 3) encoder_.bypass((prefix >> 1) - 1, coordinate - lastBase(prefix));
  }

  void writeSubBlock(int i, int end, bool last) {
    const auto [left, top] = subBlocks_[static_cast<std::size_t>(i)];
    const unsigned right = coded(left + 1, top), lower = coded(left, top + 1);
    const bool any = significantIn(i) > 0;
    const bool inner = !last && i > 0;
    if (inner) encoder_.encode(contexts_.codedSubBlock[(right | lower) + (block_.chroma ? 2 : 0)], any);
    if (inner && !any) return;
    coded_[std::size_t{top} * 8 + left] = true;
    bool inferred = inner;  // inferSbDcSigCoeffFlag
    for (int n = end - 1; n >= 0; --n) {
      if (n == 0 && inferred) break;
      const bool significant = level(i, n) != 0;
      encoder_.encode(contexts_.significant[significantContext(place(i, n), right + 2 * lower)], significant);
      if (significant) inferred = false;
    }
    if (any) writeLevels(i);
  }

  [[nodiscard]] unsigned coded(unsigned left, unsigned top) const {
    return left < 8 && top < 8 && coded_[std::size_t{top} * 8 + left] ? 1 : 0;
  }

  // 9.3.4.2.5
  [[nodiscard]] unsigned significantContext(Place at, unsigned neighbours) const {
    const auto [x, y] = at;
    unsigned context = 0;
    if (block_.log2Size == 2) {
      constexpr std::array<unsigned, 16> kMap = {0, 1, 4, 5, 2, 3, 4, 5, 6, 6, 8, 8, 7, 7, 8, 8};
      context = kMap[std::size_t{y} * 4 + x];
    } else if (x + y > 0) {
      const unsigned xP = x & 3U, yP = y & 3U;
      const std::array<unsigned, 4> byNeighbours = {xP + yP == 0  ? 2U
                                                    : xP + yP < 3 ? 1U
                                                                  : 0U,
                                                    yP == 0 ? 2U : (yP == 1 ? 1U : 0U),
                                                    xP == 0 ? 2U : (xP == 1 ? 1U : 0U), 2U};
      context = byNeighbours[neighbours];
      if (block_.chroma) {
        context += block_.log2Size == 3 ? 9 : 12;
      } else {
        context += (x >= 4 || y >= 4 ? 3U : 0U) + (block_.log2Size == 3 ? 9U : 21U);
      }
    }
    return context + (block_.chroma ? 27 : 0);
  }

  void writeLevels(int i) {
    std::vector<int> levels;
    int first = 16, last = -1;
    for (int n = 15; n >= 0; --n) {
      if (level(i, n) == 0) continue;
      levels.push_back(level(i, n));
      first = n;
      if (last < 0) last = n;
    }
    const std::size_t firstGreater = writeFlags(i, levels);
    const bool hidden = block_.signHiding && !block_.bypass && last - first > 3;
    for (std::size_t k = 0; k < levels.size() - (hidden ? 1 : 0); ++k) encoder_.bypass(levels[k] < 0);
    unsigned rice = 0;
    for (std::size_t k = 0; k < levels.size(); ++k) {
      const auto magnitude = static_cast<unsigned>(std::abs(levels[k]));
      const unsigned said = k >= 8 ? 1 : k == firstGreater ? 3 : 2;  // from here on more has to be said
      if (magnitude < said) continue;
      writeRemaining(magnitude - said, rice);
      if (magnitude > 3U << rice && rice < 4) ++rice;
    }
  }

  /// Returns the place of the first level above 1 that has a flag; one that there is not otherwise.
  std::size_t writeFlags(int i, const std::vector<int>& levels) {
    unsigned set = i == 0 || block_.chroma ? 0 : 2;
    if (previousGreater1_ == 0) ++set;
    unsigned context = 1;
    std::size_t firstGreater = levels.size();
    for (std::size_t k = 0; k < levels.size() && k < 8; ++k) {
      const bool greater = std::abs(levels[k]) > 1;
      encoder_.encode(contexts_.greater1[set * 4 + context + (block_.chroma ? 16 : 0)], greater);
      if (greater && firstGreater == levels.size()) firstGreater = k;
      context = greater || context == 0 ? 0 : context < 3 ? context + 1 : 3;
    }
    previousGreater1_ = context;
    if (firstGreater < levels.size()) {
      encoder_.encode(contexts_.greater2[set + (block_.chroma ? 4 : 0)], std::abs(levels[firstGreater]) > 2);
    }
    return firstGreater;
  }

  // 9.3.3.11
  void writeRemaining(unsigned value, unsigned rice) {
    if (value >> rice < 4) {
      for (unsigned ones = value >> rice; ones > 0; --ones) encoder_.bypass(true);
      encoder_.bypass(false);
      return encoder_.bypass(rice, value);
    }
    encoder_.bypass(4, 0xF);
    value -= 4U << rice;
    unsigned k = rice + 1;
    for (; value >= 1U << k; ++k) {
      encoder_.bypass(true);
      value -= 1U << k;
    }
    encoder_.bypass(false);
    encoder_.bypass(k, value);
  }

  HevcArithmeticEncoder& encoder_;
  HevcContexts& contexts_;
  const HevcResidual& block_;
  unsigned side_;
  std::vector<Place> subBlocks_ = diagonalScan(side_ / 4);
  std::vector<Place> inSubBlock_ = diagonalScan(4);
  std::array<bool, 64> coded_{};
  unsigned previousGreater1_ = 1;
};

}  // namespace

void writeHevcResidual(HevcArithmeticEncoder& encoder, HevcContexts& contexts, const HevcResidual& block) {
  ResidualWriter(encoder, contexts, block).write();
}

}  // namespace quellor::test_support
