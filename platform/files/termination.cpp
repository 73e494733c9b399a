#include "platform/files/termination.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <pthread.h>
#include <thread>
#include <unistd.h>

#include "platform/files/path.h"

namespace quellor {
namespace {

/// Signals that ask for the end come first, then those of faults, which belong to the thread that they come to.
constexpr std::array kSignals = {SIGINT,  SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU,
                                 SIGABRT, SIGSEGV, SIGBUS, SIGFPE,  SIGILL,  SIGSYS};
constexpr std::size_t kRequests = 6;
constexpr std::size_t kHandlerStackBytes = std::size_t{64} * 1024;

// A signal handler reaches nothing but static memory. The path is written before it is registered, and is not written
// again before the last handler that may be reading it has ended: a handler counts itself before it looks.
std::array<char, PATH_MAX> registeredPath{};
std::atomic<bool> pathIsRegistered{false};
std::atomic<int> runningHandlers{0};
std::array<struct sigaction, kSignals.size()> formerActions{};
pthread_t writer{};  // the thread that makes guards; known before the first handler is installed
alignas(std::max_align_t) std::array<std::byte, kHandlerStackBytes> handlerStack{};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "signal handlers use them");

std::size_t indexOf(int signal) {
  std::size_t i = 0;
  while (kSignals[i] != signal) ++i;
  return i;
}

/// Hands a request that came to another thread on to the one that writes: while that is in a handler it cannot make the
/// file anew that was just removed.
bool isHandedOn(int signal) {
  return indexOf(signal) < kRequests && pthread_equal(pthread_self(), writer) == 0 && pthread_kill(writer, signal) == 0;
}

/// Ends the process by the signal, whose action is not caught any more. The first process of a container survives its
/// own signals, so that it has to leave.
///
/// This and its caller are not instrumented: before a call that does not return the address sanitizer allocates, which
/// waits forever where the signal came while it looked for leaks.
[[noreturn, gnu::no_sanitize_address]] void endBy(int signal) {
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
  raise(signal);
  _exit(128 + signal);
}

extern "C" [[gnu::no_sanitize_address]] void removeRegisteredFile(int signal, siginfo_t* info, void* context) {
  const int error = errno;
  if (isHandedOn(signal)) {
    errno = error;
    return;
  }
  ++runningHandlers;
  if (pathIsRegistered) unlink(registeredPath.data());

  const struct sigaction& former = formerActions[indexOf(signal)];
  sigaction(signal, &former, nullptr);
  // It still counts as running, so that a guard's end on another thread waits for the end of the process.
  if ((former.sa_flags & SA_SIGINFO) == 0 && former.sa_handler == SIG_DFL) endBy(signal);

  --runningHandlers;
  errno = error;
  if ((former.sa_flags & SA_SIGINFO) != 0) {
    former.sa_sigaction(signal, info, context);
  } else {
    former.sa_handler(signal);
  }
}

/// A thread whose stack is used up can run a handler only on another one.
void provideHandlerStack() {
  stack_t current{};
  if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_DISABLE) == 0) return;
  stack_t own{};
  own.ss_sp = handlerStack.data();
  own.ss_size = handlerStack.size();
  sigaltstack(&own, nullptr);
}

/// The handlers stay for the life of the process: without a registered file they change nothing.
bool installHandlers() {
  provideHandlerStack();
  writer = pthread_self();
  struct sigaction action {};
  action.sa_sigaction = removeRegisteredFile;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    // Known before the handler is there to look.
    sigaction(kSignals[i], nullptr, &formerActions[i]);
    if (formerActions[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
  }
  return true;
}

}  // namespace

RemovedOnTermination::RemovedOnTermination(const std::string& path) {
  if (!isUsablePath(path) || path.size() >= registeredPath.size() || pathIsRegistered) return;
  [[maybe_unused]] static const bool installed = installHandlers();
  std::memcpy(registeredPath.data(), path.c_str(), path.size() + 1);
  pathIsRegistered = true;
  registered_ = true;
}

RemovedOnTermination::~RemovedOnTermination() {
  if (!registered_) return;
  pathIsRegistered = false;
  while (runningHandlers != 0) std::this_thread::yield();
}

}  // namespace quellor
