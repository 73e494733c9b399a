#include "platform/threads/threads.h"

#include <algorithm>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace quellor {
namespace {

TEST(StartableThreads, AreAsManyAsWantedWhereNothingLimitsThem) {
  for (const unsigned wanted : {0U, 1U, 7U, 40U}) EXPECT_EQ(startableThreads(wanted), wanted);
}

/// The exit status of a child of a user of its own, which may have that many threads besides its first; -1 where there
/// can be none.
template <typename Body>
int withThreadsLeft(rlim_t count, Body body) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit limit{count + 1, count + 1};
    constexpr uid_t kFirstUnusedUser = 300'000;
    const bool another =
        geteuid() == 0 ? setuid(kFirstUnusedUser + static_cast<uid_t>(getpid())) == 0 : unshare(CLONE_NEWUSER) == 0;
    if (!another || setrlimit(RLIMIT_NPROC, &limit) != 0) _exit(77);
    _exit(body());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) != 77 ? WEXITSTATUS(status) : -1;
}

TEST(StartableThreads, AreThoseThatTheLimitLeaves) {
  for (const unsigned left : {0U, 1U, 2U, 5U}) {
    const int found = withThreadsLeft(left, [] { return static_cast<int>(startableThreads(9)); });
    if (found == -1) GTEST_SKIP() << "threads cannot be limited here";
    EXPECT_EQ(found, static_cast<int>(left));
  }
}

TEST(StartableThreads, CanBeStartedAtOnceAgain) {
  const int failedAttempts = withThreadsLeft(6, [] {
    int failed = 0;
    for (int attempt = 0; attempt < 1000; ++attempt) {
      if (startableThreads(6) != 6) ++failed;
    }
    return std::min(failed, 50);
  });
  if (failedAttempts == -1) GTEST_SKIP() << "threads cannot be limited here";
  EXPECT_EQ(failedAttempts, 0);
}

}  // namespace
}  // namespace quellor
