#include "platform/termination.h"

#include <climits>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::TemporaryDirectory;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

/// How a child process that runs `body` ends: the number of the signal, or minus its exit status.
int endOf(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
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
