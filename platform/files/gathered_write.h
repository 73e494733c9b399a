#pragma once
#include <span>

#include "platform/values/bytes.h"

namespace quellor {

/// Writes all of `parts`, one after the other, at the descriptor's position: gathered by the system, so that nothing is
/// copied together first, and in as many calls as it takes; where a descriptor in non-blocking mode has no room, waits
/// until it has. Allocates nothing.
///
/// Returns 0, or the errno value of the failure; how much was written until then is not told.
[[nodiscard]] int writeGathered(int descriptor, std::span<const ByteView> parts);

}  // namespace quellor
