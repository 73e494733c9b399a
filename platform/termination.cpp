#include "platform/termination.h"

#include <atomic>
#include <climits>
#include <cstring>
#include <unistd.h>

#include "platform/path.h"

namespace quellor {
namespace {

// A signal handler reaches nothing but static memory. The flag is set after the path was written and cleared before it
// is written again, so that a handler on another thread does not read a path that is being changed, either.
std::array<char, PATH_MAX> registeredPath{};
std::atomic<bool> pathIsRegistered{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler reads it");

extern "C" void removeRegisteredFile(int signal) {
  if (pathIsRegistered.load(std::memory_order_acquire)) unlink(registeredPath.data());
  // The default action is back in place (SA_RESETHAND); it ends the process when this handler returns.
  raise(signal);
}

/// Keeps the signals from this thread while the registration changes.
class BlockedSignals {
 public:
  explicit BlockedSignals(const std::array<int, 3>& signals) {
    sigset_t blocked;
    sigemptyset(&blocked);
    for (const int signal : signals) sigaddset(&blocked, signal);
    pthread_sigmask(SIG_BLOCK, &blocked, &former_);
  }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;
  ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

 private:
  sigset_t former_{};
};

}  // namespace

RemovedOnTermination::RemovedOnTermination(const std::string& path) {
  if (!isUsablePath(path) || path.size() >= registeredPath.size() || pathIsRegistered.load()) return;
  const BlockedSignals blocked(kSignals);
  std::memcpy(registeredPath.data(), path.c_str(), path.size() + 1);
  pathIsRegistered.store(true, std::memory_order_release);
  registered_ = true;

  struct sigaction action {};
  action.sa_handler = removeRegisteredFile;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    sigaction(kSignals[i], nullptr, &formerActions_[i]);
    if (formerActions_[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
  }
}

RemovedOnTermination::~RemovedOnTermination() {
  if (!registered_) return;
  const BlockedSignals blocked(kSignals);
  for (std::size_t i = 0; i < kSignals.size(); ++i) sigaction(kSignals[i], &formerActions_[i], nullptr);
  pathIsRegistered.store(false, std::memory_order_release);
}

}  // namespace quellor
