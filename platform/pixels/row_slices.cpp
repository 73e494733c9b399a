#include "platform/pixels/row_slices.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

namespace quellor::pixels {
namespace {

/// Starting a thread costs about as much as drawing some ten thousand pixels.
constexpr std::uint64_t kPixelsWorthAThread = std::uint64_t{1} << 18;
constexpr std::uint64_t kMaximumThreads = 16;

std::uint32_t rowsPerSlice(std::uint32_t rows, std::uint32_t columns) {
  const std::uint64_t pixels = std::uint64_t{rows} * columns;
  const std::uint64_t processors = std::max(1U, std::thread::hardware_concurrency());
  const std::uint64_t slices =
      std::clamp<std::uint64_t>(pixels / kPixelsWorthAThread, 1, std::min(processors, kMaximumThreads));
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
  std::vector<char> succeeded(slices.size(), 0);  // not vector<bool>: each thread writes its own byte
  const auto run = [&](std::size_t i) noexcept {
    try {
      succeeded[i] = work(slices[i]) ? 1 : 0;
    } catch (...) {
      succeeded[i] = 0;
    }
  };
  {
    std::vector<std::jthread> threads;
    threads.reserve(slices.size());
    for (std::size_t i = 1; i < slices.size(); ++i) {
      try {
        threads.emplace_back(run, i);
      } catch (const std::system_error&) {
        run(i);  // no thread to be had
      }
    }
    run(0);
  }
  return std::all_of(succeeded.begin(), succeeded.end(), [](char ok) { return ok != 0; });
}

}  // namespace quellor::pixels
