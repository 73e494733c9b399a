#pragma once
#include <cstddef>
#include <functional>

namespace quellor {

/// How many threads are worth starting: the processors.
unsigned processors();

/// Calls `work( index )` once for every index below `count`, on up to `threads` threads, this one among them. Once a
/// call returns false or throws, no further one begins. True when every call returned true; raises the first error that
/// was thrown. Threads that cannot be started are done without.
bool forEachIndex(std::size_t count, unsigned threads, const std::function<bool(std::size_t)>& work);

}  // namespace quellor
