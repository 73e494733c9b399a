#pragma once
#include <cstdint>

namespace quellor {

/// Images of more pixels are refused before anything is allocated: 2^30, five times the largest phone camera.
inline constexpr std::uint64_t kMaximumPixels = std::uint64_t{1} << 30;

}  // namespace quellor
