#pragma once
#include <cstdint>

namespace quellor {

/// Seconds since the epoch of the wall clock; a clock step can make a later call return less.
using WallClockSeconds = double;

WallClockSeconds wallClockNow();

/// Milliseconds from `start` to `now`, truncated toward zero; negative when the clock was set back.
///
/// Stops the process when the product is not finite or does not fit a signed 64-bit integer: no caller could be told
/// a true number.
std::int64_t elapsedMilliseconds(WallClockSeconds start, WallClockSeconds now);

inline std::int64_t elapsedMillisecondsSince(WallClockSeconds start) {
  return elapsedMilliseconds(start, wallClockNow());
}

}  // namespace quellor
