#pragma once

namespace quellor {

/// How many threads, `wanted` at most, this process can have beside those that run: a limit of the user, of a container
/// or of memory may leave fewer than there are processors, or none. To know it they are started, all at once, and have
/// ended when this returns, so that as many can be started again.
///
/// For the sake of libraries that wait forever for a thread that could not be started. Other processes of the same user
/// may need threads, too, so some more should be asked for than will be used.
[[nodiscard]] unsigned startableThreads(unsigned wanted);

}  // namespace quellor
