#pragma once

namespace quellor {

/// For a descriptor in non-blocking mode, which is a matter of whoever opened it: waits as long as it takes until it
/// can be read from (`POLLIN`) or written to (`POLLOUT`), or has an error that reading or writing then reports. Returns
/// 0, or the errno value where it cannot be waited for.
[[nodiscard]] int waitUntilReady(int descriptor, short event);

}  // namespace quellor
