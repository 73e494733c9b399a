#pragma once
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/values/bytes.h"

namespace quellor::hevc {

/// A context variable (ITU-T H.265, 9.3.2.2) with all that its state leads to (9.3.4.3.2), so that a bin that follows
/// in the same context need not wait for a table: from the lowest bit up four bytes of rangeTabLps, by qRangeIdx; the
/// indices into kContextStates of what it becomes after the more and after the less probable symbol, a byte each;
/// valMps.
using Context = std::uint64_t;
inline constexpr unsigned kAfterMoreShift = 32;
inline constexpr unsigned kAfterLessShift = 40;
inline constexpr unsigned kValMpsShift = 48;

/// All that a context variable can be, by pStateIdx times two plus valMps.
extern const std::array<Context, 128> kContextStates;

/// The context variables that an intra slice uses, in the order of the tables that initialise them.
struct Contexts {
  Context saoMerge;
  Context saoType;
  std::array<Context, 3> splitCodingUnit;
  Context transquantBypass;
  Context partMode;
  Context previousLumaMode;
  Context chromaMode;
  std::array<Context, 3> splitTransform;
  std::array<Context, 2> codedLuma;
  std::array<Context, 5> codedChroma;
  std::array<Context, 2> qpDelta;
  std::array<Context, 2> transformSkip;
  std::array<std::array<Context, 18>, 2> lastPrefix;
  std::array<Context, 4> codedSubBlock;
  std::array<Context, 42> significant;
  std::array<Context, 24> greater1;
  std::array<Context, 6> greater2;
};

/// All of them at the start of a slice, from initValue for initType 0 and SliceQpY (9.3.2.2).
[[nodiscard]] Contexts initialContexts(int sliceQp);

/// The arithmetic decoder of clause 9.3.4.3, with an exact account of the bits that it used up.
///
/// `value_` holds ivlOffset from bit kOffsetShift upwards and, below it, `spare_` bits that were fetched ahead; one
/// bit above it is free for the doubling in bypass(). Past the end of the data zeros are fetched. A bin is as
/// likely as not to be mispredicted, hence masks in place of branches.
class ArithmeticDecoder {
 public:
  static constexpr int kPeek = 16;

  ArithmeticDecoder() = default;

  /// Starts at byte `offset` of `data`, at most its size.
  ArithmeticDecoder(ByteView data, std::size_t offset)
      : data_(data.data()), size_(data.size()), position_(offset), spare_(-kOffsetBits) {
    fetch();
  }

  /// Whether arithmetic code can begin at byte `offset` of `data`.
  [[nodiscard]] static bool canStart(ByteView data, std::size_t offset) {
    return offset < data.size() && ArithmeticDecoder(data, offset).startsLegally();
  }

  /// Whether the first bits are some that an encoder can have written (9.3.2.5). If not, nothing may be decoded.
  [[nodiscard]] bool startsLegally() const { return value_ < std::uint64_t{510} << kOffsetShift; }

  /// One bin of a context (9.3.4.3.2).
  bool decode(Context& context) { return bin(context) != 0; }

  /// The same as a number, for what collects bins: a branch on one would often be mispredicted.
  std::uint32_t bin(Context& context) {
    ensure(kMaximumShift);
    const Context state = context;
    const Context afterMore = kContextStates[state >> kAfterMoreShift & 0x7FU];
    const Context afterLess = kContextStates[state >> kAfterLessShift & 0x7FU];
    const auto lps = static_cast<std::uint32_t>(state >> ((range_ >> 3) & 24U)) & 0xFFU;
    const std::uint32_t mps = range_ - lps;
    const std::uint64_t bound = std::uint64_t{mps} << kOffsetShift;
    // All ones when the offset lies in the part of the more probable symbol.
    const auto more = static_cast<std::uint64_t>(static_cast<std::int64_t>(value_ - bound) >> 63);
    const auto more32 = static_cast<std::uint32_t>(more);
    // Both outcomes are normalised before it is known which one it is. That an LPS range is not 0 must be said.
    const std::uint32_t mpsShift = (mps >> (kOffsetBits - 1)) ^ 1U;
    const auto lpsShift = static_cast<std::uint32_t>(std::countl_zero(lps | 1U) - (32 - kOffsetBits));
    const std::uint32_t shift = lpsShift ^ ((mpsShift ^ lpsShift) & more32);
    const std::uint32_t lpsRange = lps << lpsShift;
    range_ = lpsRange ^ ((lpsRange ^ (mps << mpsShift)) & more32);
    value_ = (value_ - (bound & ~more)) << shift;
    spare_ -= static_cast<int>(shift);
    context = afterLess ^ ((afterLess ^ afterMore) & more);
    return (static_cast<std::uint32_t>(state >> kValMpsShift) ^ ~more32) & 1U;
  }

  /// One bin of equal probability (9.3.4.3.4).
  bool bypass() {
    ensure(1);
    --spare_;
    value_ <<= 1;
    const std::uint64_t bound = std::uint64_t{range_} << kOffsetShift;
    const std::uint64_t one = ~static_cast<std::uint64_t>(static_cast<std::int64_t>(value_ - bound) >> 63);
    value_ -= bound & one;
    return (one & 1U) != 0;
  }

  /// The next kPeek of such bins, the first in the most significant place, without using them up.
  std::uint32_t peekBypass() {
    ensure(kPeek);
    return static_cast<std::uint32_t>(value_ / (std::uint64_t{range_} << (kOffsetShift - kPeek)));
  }

  /// Uses up `count` bins, 0 to kPeek, of the `peeked` ones.
  void skipBypass(std::uint32_t peeked, int count) {
    spare_ -= count;
    const std::uint64_t bins = peeked >> (kPeek - count);
    value_ = (value_ - bins * (std::uint64_t{range_} << (kOffsetShift - count))) << count;
  }

  /// Up to kPeek such bins, the first in the most significant place.
  std::uint32_t bypass(int count) {
    if (count == 0) return 0;
    const std::uint32_t peeked = peekBypass();
    skipBypass(peeked, count);
    return peeked >> (kPeek - count);
  }

  /// One bin before a possible end (9.3.4.3.5). After a one nothing but endOfSubset() may follow.
  bool terminate() {
    ensure(kMaximumShift);
    range_ -= 2;
    if (value_ >= std::uint64_t{range_} << kOffsetShift) return true;
    if (range_ < 256) {
      range_ <<= 1;
      value_ <<= 1;
      --spare_;
    }
    return false;
  }

  /// The byte after the one that holds the last bit used. Absent when that bit is not the one that ends a subset of
  /// the data, followed by zeros only: rbsp_trailing_bits() and byte_alignment() look alike.
  [[nodiscard]] std::optional<std::size_t> endOfSubset() const;

  /// Whether bits were used that lie well beyond the data.
  [[nodiscard]] bool overran() const { return position_ > size_ + 2 * sizeof(std::uint32_t); }

 private:
  static constexpr int kOffsetBits = 9;
  static constexpr int kOffsetShift = 63 - kOffsetBits;
  static constexpr int kMaximumShift = 8;

  void ensure(int bits) {
    if (spare_ < bits) [[unlikely]] {
      fetch();
    }
  }

  void fetch() {
    const std::uint32_t word = wordAt(data_, size_, position_);
    position_ += sizeof(word);
    spare_ += 32;
    value_ |= std::uint64_t{word} << (kOffsetShift - spare_);
  }

  /// Four bytes of `data`, zeros where it has ended. Takes no `this`, which lets the members live in registers.
  static std::uint32_t wordAt(const std::uint8_t* data, std::size_t size, std::size_t position);

  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t position_ = 0;  // of the next byte to fetch
  std::uint64_t value_ = 0;
  std::uint32_t range_ = 510;
  int spare_ = 0;
};

}  // namespace quellor::hevc
