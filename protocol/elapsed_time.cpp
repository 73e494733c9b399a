#include "protocol/elapsed_time.h"

#include <chrono>
#include <cstdlib>

namespace quellor {

WallClockSeconds wallClockNow() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::int64_t elapsedMilliseconds(WallClockSeconds start, WallClockSeconds now) {
  const double product = (now - start) * 1000.0;
  // The lower bound is the next double below the least integer. Written so that a product that is not a number fails,
  // too.
  const bool representable = product > -9223372036854777856.0 && product < 9223372036854775808.0;
  if (!representable) std::abort();
  return static_cast<std::int64_t>(product);
}

}  // namespace quellor
