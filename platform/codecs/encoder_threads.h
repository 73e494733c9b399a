#pragma once

namespace quellor {

/// What x265 can be given to work with. It waits forever for a thread of its own that could not be started.
enum class EncoderThreads {
  none,  // it cannot run
  one,   // it runs without a pool: in the one thread that every encoding has
  pool,  // a thread for each processor, too
};

/// To be asked right before the encoder starts.
[[nodiscard]] EncoderThreads encoderThreads();

}  // namespace quellor
