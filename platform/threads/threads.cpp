#include "platform/threads/threads.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <mutex>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace quellor {
namespace {

/// Starts up to `count` threads that run `body`; less where no more can be had.
std::vector<std::thread> started(std::size_t count, const std::function<void()>& body) {
  std::vector<std::thread> threads;
  threads.reserve(count);
  try {
    while (threads.size() < count) threads.emplace_back(body);
  } catch (const std::exception&) {
    // Fewer have to do, whether a thread or the memory for it was refused.
  }
  return threads;
}

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

unsigned processors() { return std::max(1U, std::thread::hardware_concurrency()); }

bool forEachIndex(std::size_t count, unsigned threads, const std::function<bool(std::size_t)>& work) {
  std::atomic<std::size_t> next = 0;
  std::atomic<bool> good = true;
  std::mutex raising;
  std::exception_ptr raised;
  const auto body = [&] {
    while (good) {
      const std::size_t index = next++;
      if (index >= count) return;
      try {
        if (!work(index)) good = false;
      } catch (...) {
        const std::lock_guard lock(raising);
        if (!raised) raised = std::current_exception();
        good = false;
      }
    }
  };
  const std::size_t helpers = std::min<std::size_t>(std::max(1U, threads), std::max<std::size_t>(1, count)) - 1;
  std::vector<std::thread> others = started(helpers, body);
  body();
  for (std::thread& thread : others) thread.join();
  if (raised) std::rethrow_exception(raised);
  return good;
}

unsigned startableThreads(unsigned wanted) {
  ThreadIds ids(wanted);
  const unsigned started = startedAtOnce(ids);
  waitUntilGone(ids, started);
  return started;
}

}  // namespace quellor
