#include "platform/files/termination.h"

#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::TemporaryDirectory;

#ifdef QUELLOR_SANITIZED  // their handlers for faults report and end the process themselves
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU, SIGABRT, SIGSYS};
#else
constexpr int kSignals[] = {SIGINT,  SIGTERM, SIGHUP, SIGQUIT, SIGALRM, SIGXCPU,
                            SIGABRT, SIGSEGV, SIGBUS, SIGFPE,  SIGILL,  SIGSYS};
#endif

/// How a child process that runs `body` ends: the number of the signal, or minus its exit status.
int endOf(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : -WEXITSTATUS(status);
}

TEST(RemovedOnTermination, RemovesTheFileAndEndsByTheSignal) {
  for (const int signal : kSignals) {
    const TemporaryDirectory folder;
    const std::string file = folder.write("a.part", "text");
    EXPECT_EQ(endOf([&] {
                const RemovedOnTermination guard(file);
                raise(signal);
              }),
              signal);
    EXPECT_TRUE(folder.isEmpty()) << signal;
  }
}

/// A fault that the processor or the kernel finds.
struct Fault {
  const char* name;
  std::function<void()> commit;
};

void writeNowhere() {
  char* volatile nowhere = reinterpret_cast<char*>(8);
  *nowhere = 1;
}

int recurse(int depth) {
  static int (*volatile again)(int) = recurse;
  volatile char used[4096] = {};
  used[static_cast<std::size_t>(depth) % sizeof used] = 1;
  return again(depth + 1) + used[0];
}

void readPastTheEndOfAFile() {
  const void* const mapped = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, memfd_create("empty", 0), 0);
  (void)*static_cast<const volatile char*>(mapped);
}

void useUpTheProcessorTime() {
  const rlimit second{1, 2};
  setrlimit(RLIMIT_CPU, &second);
  for (volatile bool more = true; more;) {
  }
}

TEST(RemovedOnTermination, RemovesTheFileAfterAFault) {
  const Fault faults[] = {
      {"abort", [] { std::abort(); }},
      {"no memory there", writeNowhere},
      {"no stack left", [] { recurse(0); }},
      {"no file there", readPastTheEndOfAFile},
      {"no instruction", [] { __builtin_trap(); }},
      {"limit of processor time", useUpTheProcessorTime},
  };
  for (const Fault& fault : faults) {
    const TemporaryDirectory folder;
    const std::string file = folder.write("a.part", "text");
    EXPECT_NE(endOf([&] {
                const RemovedOnTermination guard(file);
                fault.commit();
              }),
              0)
        << fault.name;
    EXPECT_TRUE(folder.isEmpty()) << fault.name;
  }
}

TEST(RemovedOnTermination, RemovesTheFileAfterASignalToAnotherThread) {
  for (const int signal : kSignals) {
    const TemporaryDirectory folder;
    const std::string file = folder.write("a.part", "text");
    EXPECT_EQ(endOf([&] {
                const RemovedOnTermination guard(file);
                std::thread([signal] { raise(signal); }).join();
              }),
              signal);
    EXPECT_TRUE(folder.isEmpty()) << signal;
  }
}

TEST(RemovedOnTermination, RemovesTheFileOfTheMomentWhicheverThreadIsSignalled) {
  for (int attempt = 0; attempt < 60; ++attempt) {
    const TemporaryDirectory folder;
    EXPECT_EQ(endOf([&] {
                std::thread([attempt] {
                  std::this_thread::sleep_for(std::chrono::microseconds(500 + 37 * attempt));
                  raise(SIGTERM);
                }).detach();
                for (int i = 0;; ++i) {
                  const std::string path =
                      folder.path() / (std::string(static_cast<std::size_t>(i % 50), 'n') + ".part");
                  const RemovedOnTermination guard(path);
                  close(open(path.c_str(), O_CREAT | O_WRONLY, 0600));
                  unlink(path.c_str());
                }
              }),
              SIGTERM);
    EXPECT_TRUE(folder.isEmpty()) << attempt;
  }
}

TEST(RemovedOnTermination, EndsByTheSecondOfTwoSignalsToo) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.part", "text");
  const int end = endOf([&] {
    const RemovedOnTermination guard(file);
    std::thread other([] { raise(SIGINT); });
    raise(SIGTERM);
  });
  EXPECT_TRUE(end == SIGINT || end == SIGTERM) << end;
  EXPECT_TRUE(folder.isEmpty());
}

TEST(RemovedOnTermination, RemovesAFileThatWasCreatedLater) {
  const TemporaryDirectory folder;
  EXPECT_EQ(endOf([&] {
              const RemovedOnTermination guard(folder.path() / "a.part");
              (void)folder.write("a.part", "text");
              raise(SIGTERM);
            }),
            SIGTERM);
  EXPECT_TRUE(folder.isEmpty());
}

TEST(RemovedOnTermination, EndsByTheSignalWithoutAFile) {
  const TemporaryDirectory folder;
  EXPECT_EQ(endOf([&] {
              const RemovedOnTermination guard(folder.path() / "a.part");
              raise(SIGINT);
            }),
            SIGINT);
}

TEST(RemovedOnTermination, LeavesTheFileOnceItIsOver) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.part", "text");
  EXPECT_EQ(endOf([&] {
              { const RemovedOnTermination guard(file); }
              raise(SIGTERM);
            }),
            SIGTERM);
  EXPECT_TRUE(std::filesystem::exists(file));
}

TEST(RemovedOnTermination, CanGuardOneFileAfterTheOther) {
  const TemporaryDirectory folder;
  const std::string first = folder.write("first.part", "text");
  const std::string second = folder.write("b", "text");
  EXPECT_EQ(endOf([&] {
              { const RemovedOnTermination guard(first); }
              const RemovedOnTermination guard(second);
              raise(SIGHUP);
            }),
            SIGHUP);
  EXPECT_TRUE(std::filesystem::exists(first));
  EXPECT_FALSE(std::filesystem::exists(second));
}

TEST(RemovedOnTermination, KeepsTheFirstOfTwoGuardsAtATime) {
  const TemporaryDirectory folder;
  const std::string first = folder.write("first", "text");
  const std::string second = folder.write("second", "text");
  EXPECT_EQ(endOf([&] {
              const RemovedOnTermination guard(first);
              { const RemovedOnTermination other(second); }
              raise(SIGTERM);
            }),
            SIGTERM);
  EXPECT_FALSE(std::filesystem::exists(first));
  EXPECT_TRUE(std::filesystem::exists(second));
}

TEST(RemovedOnTermination, LeavesAnIgnoredSignalIgnored) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.part", "text");
  EXPECT_EQ(endOf([&] {
              std::signal(SIGHUP, SIG_IGN);
              const RemovedOnTermination guard(file);
              raise(SIGHUP);
            }),
            0);
  EXPECT_TRUE(std::filesystem::exists(file));
}

TEST(RemovedOnTermination, TouchesNoOtherSignal) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.part", "text");
  EXPECT_EQ(endOf([&] {
              const RemovedOnTermination guard(file);
              raise(SIGUSR1);
            }),
            SIGUSR1);
  EXPECT_TRUE(std::filesystem::exists(file));
}

extern "C" void exitWith5(int) { _exit(5); }

TEST(RemovedOnTermination, PutsFormerHandlersBack) {
  const TemporaryDirectory folder;
  EXPECT_EQ(endOf([&] {
              std::signal(SIGTERM, exitWith5);
              { const RemovedOnTermination guard(folder.path() / "a.part"); }
              raise(SIGTERM);
            }),
            -5);
}

TEST(RemovedOnTermination, CallsAFormerHandlerWhenTheFileIsGone) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.part", "text");
  EXPECT_EQ(endOf([&] {
              std::signal(SIGTERM, exitWith5);
              const RemovedOnTermination guard(file);
              raise(SIGTERM);
            }),
            -5);
  EXPECT_TRUE(folder.isEmpty());
}

extern "C" void exitWithFaultsAddress(int, siginfo_t* info, void*) {
  _exit(info->si_addr == reinterpret_cast<void*>(8) ? 6 : 7);
}

TEST(RemovedOnTermination, TellsAFormerHandlerWhatHappened) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.part", "text");
  EXPECT_EQ(endOf([&] {
              struct sigaction action {};
              action.sa_sigaction = exitWithFaultsAddress;
              action.sa_flags = SA_SIGINFO;
              sigaction(SIGSEGV, &action, nullptr);
              const RemovedOnTermination guard(file);
              writeNowhere();
            }),
            -6);
  EXPECT_TRUE(folder.isEmpty());
}

TEST(RemovedOnTermination, DoesNothingForAPathThatCannotBeOne) {
  for (const std::string& path : {std::string(), std::string("a\0b", 3), std::string(PATH_MAX, 'n')}) {
    EXPECT_EQ(endOf([&] {
                const RemovedOnTermination guard(path);
                raise(SIGTERM);
              }),
              SIGTERM);
  }
}

TEST(RemovedOnTermination, EndsAProcessThatIsSentTheSignalFromOutside) {
  const TemporaryDirectory folder;
  const std::string file = folder.write("a.part", "text");
  int ready[2] = {-1, -1};
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    const RemovedOnTermination guard(file);
    const char byte = 1;
    (void)!write(ready[1], &byte, 1);
    for (;;) pause();
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  ASSERT_EQ(kill(child, SIGTERM), 0);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  EXPECT_TRUE(folder.isEmpty());
  close(ready[0]);
  close(ready[1]);
}

}  // namespace
}  // namespace quellor
