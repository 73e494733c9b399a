#pragma once

namespace quellor {

/// The life of the process: one request in, one response out, exit.
struct Quellor {
  /// Exit statuses: 0 the operation succeeded, 1 its response reports a failure, 2 the request could not be decoded
  /// (then there is no response, and standard error says why), 3 the response could not be written (standard error
  /// says why; what the operation did stands). A standard output that the caller closed before takes everything.
  /// Command-line arguments and the environment are not read.
  [[noreturn]] static void main();
};

}  // namespace quellor
