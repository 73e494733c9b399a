#pragma once
#include <cstdint>

namespace quellor {

/// Images of more pixels are refused before anything is allocated: 2^30, five times the largest phone camera.
inline constexpr std::uint64_t kMaximumPixels = std::uint64_t{1} << 30;

/// Inflated image data up to this size may be held in one piece for a check, beside the whole file: 256 MiB, a photo of
/// 89 megapixels in three bytes each. What is larger is read row by row.
inline constexpr std::uint64_t kMaximumInflatedSize = std::uint64_t{1} << 28;

}  // namespace quellor
