#include "platform/codecs/encoder_threads.h"

#include <algorithm>
#include <unistd.h>

#include "platform/threads.h"

namespace quellor {
namespace {

constexpr unsigned kFrameThreads = 1;
/// Other processes of the same user may start one until the encoder does.
constexpr unsigned kSpare = 2;

/// As the encoder counts them: those that are switched off, or not for this process, included.
unsigned configuredProcessors() { return static_cast<unsigned>(std::clamp(sysconf(_SC_NPROCESSORS_CONF), 1L, 4096L)); }

}  // namespace

EncoderThreads encoderThreads() {
  const unsigned forPool = kFrameThreads + configuredProcessors() + kSpare;
  const unsigned startable = startableThreads(forPool);
  if (startable == forPool) return EncoderThreads::pool;
  return startable >= kFrameThreads ? EncoderThreads::one : EncoderThreads::none;
}

}  // namespace quellor
