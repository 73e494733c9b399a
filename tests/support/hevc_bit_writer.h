#pragma once
#include <cstddef>
#include <cstdint>
#include <utility>

#include "platform/values/bytes.h"

namespace quellor::test_support {

/// Writes the descriptors of HEVC's syntax (ITU-T H.265, 7.2 and 9.2), bit by bit.
class HevcBitWriter {
 public:
  HevcBitWriter& bits(unsigned count, std::uint64_t value) {
    for (unsigned i = count; i > 0; --i) append(((value >> (i - 1)) & 1U) != 0);
    return *this;
  }
  HevcBitWriter& flag(bool value) { return bits(1, value ? 1 : 0); }

  /// ue(v)
  HevcBitWriter& golomb(unsigned value) {
    unsigned length = 0;
    while (((std::uint64_t{value} + 1) >> length) > 1) ++length;
    return bits(length, 0).bits(length + 1, std::uint64_t{value} + 1);
  }

  /// se(v)
  HevcBitWriter& signedGolomb(int value) {
    return golomb(value > 0 ? static_cast<unsigned>(2 * value - 1) : static_cast<unsigned>(-2 * value));
  }

  /// Zeros up to a whole byte.
  HevcBitWriter& alignWithZeros() {
    used_ = 0;
    return *this;
  }

  /// rbsp_trailing_bits() and byte_alignment(): a one before those.
  HevcBitWriter& align() { return flag(true).alignWithZeros(); }

  [[nodiscard]] const Bytes& bytes() const { return bytes_; }
  [[nodiscard]] Bytes take() {
    used_ = 0;
    return std::exchange(bytes_, {});
  }

 private:
  void append(bool bit) {
    if (used_ == 0) bytes_.push_back(0);
    if (bit) bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | (0x80U >> used_));
    used_ = (used_ + 1) & 7U;
  }

  Bytes bytes_;
  unsigned used_ = 0;  // bits of the last byte; 0 when it is full
};

/// Puts an emulation prevention byte before every byte up to 3 that two zeros precede (7.4.2).
[[nodiscard]] Bytes withEmulationPrevention(ByteView raw);

/// A NAL unit of the base layer, header included (7.3.1), of a payload without emulation prevention.
[[nodiscard]] Bytes nalUnit(unsigned type, ByteView raw);

}  // namespace quellor::test_support
