#include "platform/threads/parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
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

}  // namespace quellor
