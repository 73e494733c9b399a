#include "platform/threads/startable_threads.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace quellor {
namespace {

using ThreadIds = std::vector<std::atomic<pid_t>>;

bool exists(pid_t thread) { return syscall(SYS_tgkill, getpid(), thread, 0) == 0; }

/// A joined thread counts against the limits until the system has buried it, a moment later.
void waitUntilGone(const ThreadIds& threads, unsigned count) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(1);
  for (unsigned i = 0; i < count; ++i) {
    while (exists(threads[i]) && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
  }
}

/// Starts that many threads and ends them when all have been started or one could not be. Returns how many there were.
unsigned startedAtOnce(ThreadIds& ids) {
  std::atomic<bool> over{false};
  std::vector<std::jthread> threads;
  threads.reserve(ids.size());
  try {
    for (std::atomic<pid_t>& id : ids) {
      threads.emplace_back([&id, &over] {
        id = gettid();
        over.wait(false);
      });
    }
  } catch (const std::exception&) {
    // One too many, or no memory for it.
  }
  over = true;
  over.notify_all();
  return static_cast<unsigned>(threads.size());
}

}  // namespace

unsigned startableThreads(unsigned wanted) {
  ThreadIds ids(wanted);
  const unsigned started = startedAtOnce(ids);
  waitUntilGone(ids, started);
  return started;
}

}  // namespace quellor
