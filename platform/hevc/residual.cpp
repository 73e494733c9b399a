#include "platform/hevc/residual.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>

#include "platform/hevc/residual_tables.h"

namespace quellor::hevc {
namespace {

constexpr unsigned kMaximumLevel = 1U << 15;  // of 16-bit coefficients
constexpr int kMaximumPrefix = 18;            // that such a level can have

/// The state of one residual_coding().
class ResidualParser {
 public:
  ResidualParser(const ArithmeticDecoder& decoder, Contexts& contexts, const ResidualBlock& block)
      : decoder_(decoder), contexts_(contexts), block_(block) {}

  bool parse();

  [[nodiscard]] const ArithmeticDecoder& decoder() const { return decoder_; }

 private:
  unsigned lastPrefix(std::array<Context, 18>& contexts);
  unsigned lastCoordinate(unsigned prefix);
  bool codedSubBlock(Position at);
  unsigned significantOffset(bool firstSubBlock) const;
  unsigned significance(unsigned subBlock, Position at, bool isLast, unsigned lastInSubBlock);
  bool levels(unsigned significant, bool firstSubBlock);
  unsigned escapePrefix();
  bool remainingLevel(unsigned base, unsigned& rice);

  ArithmeticDecoder decoder_;  // a copy, so that the compiler can keep it in registers
  Contexts& contexts_;
  const ResidualBlock& block_;
  std::array<std::uint8_t, 9> codedRows_{};  // bit x of row y: the sub-block is coded
  unsigned greater1Context_ = 1;
  bool firstLevels_ = true;
};

unsigned ResidualParser::lastPrefix(std::array<Context, 18>& contexts) {
  const unsigned log2 = block_.log2Size;
  const unsigned offset = block_.chroma ? 15 : 3 * (log2 - 2) + ((log2 - 1) >> 2);
  const unsigned shift = block_.chroma ? log2 - 2 : (log2 + 1) >> 2;
  const unsigned maximum = (log2 << 1) - 1;
  unsigned prefix = 0;
  while (prefix < maximum && decoder_.decode(contexts[offset + (prefix >> shift)])) ++prefix;
  return prefix;
}

unsigned ResidualParser::lastCoordinate(unsigned prefix) {
  if (prefix <= 3) return prefix;
  const unsigned bits = (prefix >> 1) - 1;
  return (1U << bits) * (2 + (prefix & 1U)) + decoder_.bypass(static_cast<int>(bits));
}

bool ResidualParser::codedSubBlock(Position at) {
  const bool right = ((codedRows_[at.y] >> (at.x + 1)) & 1U) != 0;
  const bool below = ((codedRows_[at.y + 1U] >> at.x) & 1U) != 0;
  return decoder_.decode(contexts_.codedSubBlock[(right || below ? 1U : 0U) + (block_.chroma ? 2U : 0U)]);
}

unsigned ResidualParser::significantOffset(bool firstSubBlock) const {
  const unsigned log2 = block_.log2Size;
  if (block_.chroma) return 27 + (log2 == 2 ? 0 : log2 == 3 ? 9 : 12);
  if (log2 == 2) return 0;
  return (firstSubBlock ? 0U : 3U) + (log2 == 3 ? (block_.scan == Scan::diagonal ? 9U : 15U) : 21U);
}

/// Bit n of the result: the coefficient at place n of the sub-block's scan is not zero.
unsigned ResidualParser::significance(unsigned subBlock, Position at, bool isLast, unsigned lastInSubBlock) {
  const bool inner = subBlock > 0 && !isLast;
  if (inner && !codedSubBlock(at)) return 0;
  codedRows_[at.y] = static_cast<std::uint8_t>(codedRows_[at.y] | (1U << at.x));
  const unsigned right = (codedRows_[at.y] >> (at.x + 1)) & 1U;
  const unsigned below = (codedRows_[at.y + 1U] >> at.x) & 1U;
  const unsigned pattern = block_.log2Size == 2 ? 4 : right + 2 * below;
  const auto* const table = kSignificantByScan[static_cast<std::size_t>(block_.scan)][pattern].data();
  Context* const contexts = contexts_.significant.data() + significantOffset(subBlock == 0);

  unsigned significant = isLast ? 1U : 0U;
  for (unsigned n = isLast ? lastInSubBlock : 16; n-- > 1;) {
    significant = significant << 1 | decoder_.bin(contexts[table[n]]);
  }
  significant <<= 1;
  if (isLast && lastInSubBlock == 0) return 1;
  if (inner && significant == 0) {
    return 1;  // inferSbDcSigCoeffFlag
  }
  // The block's first coefficient has a context of its own.
  Context& first = subBlock == 0 ? contexts_.significant[block_.chroma ? 27 : 0] : contexts[table[0]];
  return significant | decoder_.bin(first);
}

/// The ones before a zero; more than any prefix has when they go on.
unsigned ResidualParser::escapePrefix() {
  const std::uint32_t bins = decoder_.peekBypass();
  int prefix = std::countl_one(bins << (32 - ArithmeticDecoder::kPeek));
  if (prefix < ArithmeticDecoder::kPeek) {
    decoder_.skipBypass(bins, prefix + 1);
    return static_cast<unsigned>(prefix);
  }
  decoder_.skipBypass(bins, prefix);
  while (prefix <= kMaximumPrefix && decoder_.bypass()) ++prefix;
  return static_cast<unsigned>(prefix);
}

// 9.3.3.11: a prefix of up to four ones with a Rice code's suffix behind it, or an exponential Golomb code. The Rice
// parameter grows with the levels of the sub-block.
bool ResidualParser::remainingLevel(unsigned base, unsigned& rice) {
  const unsigned prefix = escapePrefix();
  const unsigned suffixBits = prefix <= 3 ? rice : prefix - 3 + rice;
  if (suffixBits > ArithmeticDecoder::kPeek) return false;
  const unsigned start = prefix <= 3 ? prefix << rice : ((1U << (prefix - 3)) + 2) << rice;
  const unsigned level = base + start + decoder_.bypass(static_cast<int>(suffixBits));
  rice = std::min(rice + (level > 3U << rice ? 1U : 0U), 4U);
  return level <= kMaximumLevel;
}

// The rest of 7.3.8.11 for one sub-block: coeff_abs_level_greater1_flag of the first eight coefficients, with contexts
// that start higher after a sub-block in which such a flag was one (9.3.4.2.6); coeff_abs_level_greater2_flag of the
// first that is greater; all signs but a hidden one, which 8.6.2 takes from the sum of the levels; what is left of
// them.
bool ResidualParser::levels(unsigned significant, bool firstSubBlock) {
  constexpr unsigned kMaximumGreater1 = 8;
  // The next context after a flag of 0 and of 1.
  constexpr std::array<std::array<std::uint8_t, 4>, 2> kNextGreater1 = {{{0, 2, 3, 3}, {0, 0, 0, 0}}};
  unsigned set = firstSubBlock || block_.chroma ? 0 : 2;
  if (!firstLevels_ && greater1Context_ == 0) ++set;
  firstLevels_ = false;
  unsigned context = 1;
  const unsigned count = static_cast<unsigned>(std::popcount(significant));
  Context* const contexts = contexts_.greater1.data() + std::size_t{set} * 4 + (block_.chroma ? 16 : 0);
  unsigned greater1 = 0;  // bit i: of the coefficient at place i in the order of coding
  for (unsigned i = 0; i < std::min(count, kMaximumGreater1); ++i) {
    const unsigned bin = decoder_.bin(contexts[context]);
    greater1 |= bin << i;
    context = kNextGreater1[bin][context];
  }
  greater1Context_ = context;
  const unsigned first = greater1 & (0U - greater1);
  const bool greater2 = first != 0 && decoder_.decode(contexts_.greater2[set + (block_.chroma ? 4 : 0)]);

  const int lastPlace = static_cast<int>(std::bit_width(significant)) - 1;
  const int firstPlace = std::countr_zero(significant);
  const bool signHidden = block_.signHiding && lastPlace - firstPlace > 3;
  decoder_.bypass(static_cast<int>(count) - (signHidden ? 1 : 0));

  // coeff_abs_level_remaining is coded where the flags say as much as they can.
  const unsigned withoutFlags = ((1U << count) - 1) & ~((1U << kMaximumGreater1) - 1);
  unsigned open = (greater2 ? greater1 : greater1 & ~first) | withoutFlags;
  for (unsigned rice = 0; open != 0; open &= open - 1) {
    const unsigned lowest = open & (0U - open);
    const unsigned base = lowest == first ? 3 : (lowest & withoutFlags) != 0 ? 1 : 2;
    if (!remainingLevel(base, rice)) return false;
  }
  return true;
}

bool ResidualParser::parse() {
  if (block_.transformSkipFlag) decoder_.decode(contexts_.transformSkip[block_.chroma ? 1 : 0]);
  const unsigned prefixX = lastPrefix(contexts_.lastPrefix[0]);
  const unsigned prefixY = lastPrefix(contexts_.lastPrefix[1]);
  unsigned lastX = lastCoordinate(prefixX);
  unsigned lastY = lastCoordinate(prefixY);
  if (block_.scan == Scan::vertical) std::swap(lastX, lastY);
  const Position* const subBlocks = subBlockOrder(block_.log2Size, block_.scan);
  const unsigned last = indexOf(subBlocks, lastX >> 2, lastY >> 2);
  const unsigned lastInSubBlock = indexOf(kScan4[static_cast<std::size_t>(block_.scan)].data(), lastX & 3, lastY & 3);
  for (unsigned i = last + 1; i-- > 0;) {
    const unsigned significant = significance(i, subBlocks[i], i == last, lastInSubBlock);
    if (significant != 0 && !levels(significant, i == 0)) return false;
  }
  return true;
}

}  // namespace

bool parseResidual(ArithmeticDecoder& decoder, Contexts& contexts, const ResidualBlock& block) {
  ResidualParser parser(decoder, contexts, block);
  const bool valid = parser.parse();
  decoder = parser.decoder();
  return valid;
}

}  // namespace quellor::hevc
