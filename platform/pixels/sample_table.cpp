#include "platform/pixels/sample_table.h"

#include <algorithm>

#include "platform/pixels/raster_form.h"

namespace quellor::pixels {

SampleRange rangeOf(int bits, bool full) {
  if (full) return {0, greatestSample(bits)};
  return {16U << (bits - 8), 219U << (bits - 8)};
}

SampleTable::SampleTable(int bits, bool fullRange, int toBits) : values_(std::size_t{greatestSample(bits)} + 1) {
  const SampleRange range = rangeOf(bits, fullRange);
  const std::uint64_t greatest = greatestSample(toBits);
  for (std::uint32_t sample = 0; sample < values_.size(); ++sample) {
    const std::uint64_t inRange = std::clamp(sample, range.black, range.black + range.span) - range.black;
    values_[sample] =
        static_cast<std::uint16_t>((2 * inRange * greatest + range.span) / (2 * std::uint64_t{range.span}));
  }
}

}  // namespace quellor::pixels
