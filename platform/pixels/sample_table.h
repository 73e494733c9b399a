#pragma once
#include <cstdint>
#include <vector>

namespace quellor::pixels {

/// The whole numbers from black to black + span of a component without colour differences.
struct SampleRange {
  std::uint32_t black = 0;
  std::uint32_t span = 255;
};

/// The range of a depth of 8 to 16 bits (ITU-T H.273, 8.3): 0 to 2^bits - 1, or 16 to 235 in 8 bits.
SampleRange rangeOf(int bits, bool full);

/// For every sample of `bits` its value in full range of another depth, rounded to nearest and clipped.
class SampleTable {
 public:
  SampleTable(int bits, bool fullRange, int toBits);

  /// `sample` may be anything; above the depth's greatest value it counts as that.
  [[nodiscard]] std::uint16_t operator[](std::uint16_t sample) const {
    return values_[sample < values_.size() ? sample : values_.size() - 1];
  }

 private:
  std::vector<std::uint16_t> values_;
};

}  // namespace quellor::pixels
