#pragma once
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

namespace quellor {

/// Rows and planes that begin at a multiple of this many bytes suit every vector unit.
inline constexpr std::size_t kSampleAlignment = 64;

constexpr std::size_t alignedUp(std::size_t size) { return (size + kSampleAlignment - 1) & ~(kSampleAlignment - 1); }

/// Uninitialised memory for the samples of one raster, aligned to kSampleAlignment. `size` is 1 or more and at most
/// SIZE_MAX - kSampleAlignment. Throws std::bad_alloc when it cannot be had.
inline std::shared_ptr<std::uint8_t> allocateSamples(std::size_t size) {
  auto* const memory = static_cast<std::uint8_t*>(std::aligned_alloc(kSampleAlignment, alignedUp(size)));
  if (memory == nullptr) throw std::bad_alloc();
  return {memory, [](std::uint8_t* samples) { std::free(samples); }};
}

}  // namespace quellor
