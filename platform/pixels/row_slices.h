#pragma once
#include <cstdint>
#include <functional>

namespace quellor::pixels {

/// Rows of an image: `count` (1 or more) from `first`.
struct RowSlice {
  std::uint32_t first = 0;
  std::uint32_t count = 0;
};

/// A slice begins at a multiple of this many rows.
inline constexpr std::uint32_t kSliceRowUnit = 16;

/// Calls `work` once for every row of an image of `rows` rows and `columns` columns, slice by slice: the slices of a
/// large image on several threads at once. True when every call returned true; raises
/// what a call raises.
bool forEachSlice(std::uint32_t rows, std::uint32_t columns, const std::function<bool(RowSlice)>& work);

}  // namespace quellor::pixels
