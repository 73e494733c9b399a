#include "platform/pixels/row_slices.h"

#include <algorithm>
#include <vector>

#include "platform/threads/threads.h"

namespace quellor::pixels {
namespace {

/// Starting a thread costs about as much as drawing some ten thousand pixels.
constexpr std::uint64_t kPixelsWorthAThread = std::uint64_t{1} << 18;
constexpr std::uint64_t kMaximumThreads = 16;

std::uint32_t rowsPerSlice(std::uint32_t rows, std::uint32_t columns) {
  const std::uint64_t pixels = std::uint64_t{rows} * columns;
  const std::uint64_t slices = std::clamp<std::uint64_t>(pixels / kPixelsWorthAThread, 1,
                                                         std::min<std::uint64_t>(processors(), kMaximumThreads));
  const std::uint64_t units = (std::uint64_t{rows} + kSliceRowUnit - 1) / kSliceRowUnit;
  return static_cast<std::uint32_t>((units + slices - 1) / slices) * kSliceRowUnit;
}

}  // namespace

bool forEachSlice(std::uint32_t rows, std::uint32_t columns, const std::function<bool(RowSlice)>& work) {
  const std::uint32_t step = rowsPerSlice(rows, columns);
  std::vector<RowSlice> slices;
  for (std::uint64_t first = 0; first < rows; first += step) {
    const auto begin = static_cast<std::uint32_t>(first);
    slices.push_back({begin, std::min(step, rows - begin)});
  }
  return forEachIndex(slices.size(), static_cast<unsigned>(slices.size()),
                      [&](std::size_t index) { return work(slices[index]); });
}

}  // namespace quellor::pixels
