#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/values/bytes.h"

namespace quellor {

/// Reads the descriptors of ITU-T H.265, 7.2 and 9.2, from bytes without emulation prevention. Never reads beyond them:
/// a read that would gives 0 and makes `failed` true for good.
class BitReader {
 public:
  explicit BitReader(ByteView bytes) : bytes_(bytes) {}

  [[nodiscard]] bool failed() const { return failed_; }

  /// How many bits have been read.
  [[nodiscard]] std::size_t position() const { return position_; }

  /// u(count): 0 to 32 bits.
  std::uint32_t bits(unsigned count) {
    if (count > 8 * bytes_.size() - position_) {
      failed_ = true;
      position_ = 8 * bytes_.size();
      return 0;
    }
    std::uint32_t value = 0;
    for (unsigned i = 0; i < count; ++i, ++position_) {
      value = (value << 1) | ((bytes_[position_ >> 3] >> (7 - (position_ & 7))) & 1U);
    }
    return value;
  }

  bool flag() { return bits(1) != 0; }

  void skip(unsigned count) {
    for (; count > 32; count -= 32) bits(32);
    bits(count);
  }

  /// ue(v), at most `maximum`: a greater value is a failure.
  std::uint32_t unsignedGolomb(std::uint32_t maximum = 0xFFFFFFFEU) {
    unsigned zeros = 0;
    while (!failed_ && !flag()) ++zeros;
    if (failed_ || zeros > 31) {
      failed_ = true;
      return 0;
    }
    const std::uint32_t value = ((std::uint32_t{1} << zeros) - 1) + bits(zeros);
    if (value > maximum) {
      failed_ = true;
      return 0;
    }
    return value;
  }

  /// se(v)
  std::int32_t signedGolomb() {
    const std::int64_t code = unsignedGolomb();
    return static_cast<std::int32_t>((code & 1) != 0 ? (code + 1) / 2 : -(code / 2));
  }

  /// byte_alignment(): a one, then zeros up to a whole byte. Returns the number of whole bytes read so far.
  std::size_t byteAlignment() {
    failed_ = !flag() || failed_;
    while (!failed_ && (position_ & 7) != 0) failed_ = flag() || failed_;
    return position_ >> 3;
  }

 private:
  ByteView bytes_;
  std::size_t position_ = 0;  // in bits
  bool failed_ = false;
};

}  // namespace quellor
