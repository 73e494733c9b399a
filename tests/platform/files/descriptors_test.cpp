#include "platform/files/descriptors.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace quellor {
namespace {

void doNothing(int) {}

/// Has this process interrupted every millisecond, in the middle of system calls.
void interruptOften() {
  struct sigaction action {};
  action.sa_handler = doNothing;
  sigaction(SIGALRM, &action, nullptr);
  const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
  setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
}

/// What comes out of a pipe into which a child writes `parts`; `interrupted` makes for partial writes.
Bytes throughPipe(const std::vector<Bytes>& parts, bool interrupted) {
  int ends[2] = {-1, -1};
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    if (interrupted) interruptOften();
    const std::vector<ByteView> views(parts.begin(), parts.end());
    _exit(writeGathered(ends[1], views));
  }
  close(ends[1]);
  Bytes result;
  Bytes some(100'003);
  for (;;) {
    if (interrupted) usleep(3000);
    const ssize_t got = read(ends[0], some.data(), some.size());
    if (got <= 0) break;
    result.insert(result.end(), some.begin(), some.begin() + got);
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  return result;
}

Bytes joined(const std::vector<Bytes>& parts) {
  Bytes whole;
  for (const Bytes& part : parts) whole.insert(whole.end(), part.begin(), part.end());
  return whole;
}

/// Parts of those sizes, with bytes that tell their places.
std::vector<Bytes> partsOf(const std::vector<std::size_t>& sizes) {
  std::vector<Bytes> parts;
  std::size_t place = 0;
  for (const std::size_t size : sizes) {
    Bytes& part = parts.emplace_back(size);
    for (std::uint8_t& byte : part) byte = static_cast<std::uint8_t>(place++ % 251);
  }
  return parts;
}

TEST(WriteGathered, WritesAllPartsInTheirOrder) {
  for (const auto& sizes : std::vector<std::vector<std::size_t>>{{},
                                                                 {0},
                                                                 {5},
                                                                 {15, 1000},
                                                                 {0, 3, 0, 0, 4, 0},
                                                                 std::vector<std::size_t>(16, 1),
                                                                 std::vector<std::size_t>(17, 2),
                                                                 std::vector<std::size_t>(3000, 3)}) {
    const auto parts = partsOf(sizes);
    EXPECT_EQ(throughPipe(parts, false), joined(parts)) << sizes.size();
  }
}

TEST(WriteGathered, GoesOnAfterInterruptedAndPartialWrites) {
  const auto parts = partsOf({15, 1'500'000, 0, 7, 700'000, 1});
  EXPECT_EQ(throughPipe(parts, true), joined(parts));
}

TEST(WriteGathered, ReturnsTheReasonOfAFailure) {
  const Bytes part = {1, 2, 3};
  const ByteView views[] = {part};
  EXPECT_EQ(writeGathered(-1, views), EBADF);
  const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
  if (full < 0) GTEST_SKIP();
  EXPECT_EQ(writeGathered(full, views), ENOSPC);
  close(full);
}

}  // namespace
}  // namespace quellor
