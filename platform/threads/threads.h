#pragma once
#include <cstddef>
#include <functional>

namespace quellor {

/// How many threads are worth starting: the processors.
unsigned processors();

/// Calls `work( index )` once for every index below `count`, on up to `threads` threads, this one among them. The calls
/// are begun in ascending order, so that one may wait for what a call of lower index does on another thread. Once a
/// call returns false or throws, no further one begins. True when every call returned true; raises the first error that
/// was thrown. Threads that cannot be started are done without.
bool forEachIndex(std::size_t count, unsigned threads, const std::function<bool(std::size_t)>& work);

/// How many threads, `wanted` at most, this process can have beside those that run: a limit of the user, of a container
/// or of memory may leave fewer than there are processors, or none. To know it they are started, all at once, and have
/// ended when this returns, so that as many can be started again.
///
/// For the sake of libraries that wait forever for a thread that could not be started. Other processes of the same user
/// may need threads, too, so some more should be asked for than will be used.
[[nodiscard]] unsigned startableThreads(unsigned wanted);

}  // namespace quellor
