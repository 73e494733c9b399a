#include "platform/hevc/subsets.h"

#include <algorithm>

namespace quellor::hevc {

std::vector<std::size_t> subsetStarts(const SliceHeader& header, std::span<const std::size_t> removed) {
  std::vector<std::size_t> starts;
  starts.reserve(header.subsetSizes.size());
  std::size_t coded = 0;   // the place with emulation prevention
  std::size_t before = 0;  // how many emulation prevention bytes stand before it
  for (const std::uint32_t size : header.subsetSizes) {
    coded += size;
    while (before < removed.size() && removed[before] + before < coded) ++before;
    const bool atPrevention = before < removed.size() && removed[before] + before == coded;
    starts.push_back(atPrevention ? kNowhere : coded - before);
  }
  return starts;
}

const char* endSegment(const ArithmeticDecoder& decoder, ByteView data) {
  const auto end = decoder.endOfSubset();
  // Zero bytes may follow: cabac_zero_words (7.3.2.10).
  const auto isZero = [](auto byte) { return byte == 0; };
  const bool good = end && std::all_of(data.begin() + static_cast<std::ptrdiff_t>(*end), data.end(), isZero);
  return good ? nullptr : "a slice segment's code does not end with its data";
}

const char* endSubset(ArithmeticDecoder& decoder, ByteView data, std::size_t& next) {
  const auto end = decoder.terminate() ? decoder.endOfSubset() : std::nullopt;  // end_of_subset_one_bit
  if (!end || !ArithmeticDecoder::canStart(data, *end)) return "the code of a tile or row does not end with its data";
  next = *end;
  return nullptr;
}

}  // namespace quellor::hevc
