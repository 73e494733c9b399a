// The tests' own tool: what the other end-to-end tests conclude from a run is only as good as this.

#include <chrono>
#include <filesystem>
#include <signal.h>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

#include "tests/support/process.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::ProcessOptions;
using test_support::ProcessResult;
using test_support::runProcess;

ProcessResult runShell(const std::string& script, ProcessOptions options = {}) {
  options.arguments = {"-c", script};
  return runProcess("/bin/sh", options);
}

TEST(ProcessRunner, KeepsBothOutputsApartAndReportsTheStatus) {
  const ProcessResult run = runShell("echo out; echo err >&2; exit 3");
  EXPECT_EQ(run.standardOutput, "out\n");
  EXPECT_EQ(run.standardError, "err\n");
  EXPECT_EQ(run.exitStatus, 3);
  EXPECT_FALSE(run.signal.has_value());
}

TEST(ProcessRunner, PassesFiftyMegabytesThroughWithoutADeadlock) {
  ProcessOptions options;
  options.standardInput = std::string(50'000'000, 'x');
  const ProcessResult run = runProcess("/bin/cat", options);
  EXPECT_EQ(run.exitStatus, 0);
  EXPECT_EQ(run.standardOutput.size(), options.standardInput.size());
}

TEST(ProcessRunner, EndsWithAChildThatNeverReads) {
  ProcessOptions options;
  options.standardInput = std::string(10'000'000, 'x');
  EXPECT_EQ(runShell("exit 0", options).exitStatus, 0);
}

TEST(ProcessRunner, KillsAChildAndItsChildrenAtTheTimeLimit) {
  ProcessOptions options;
  options.timeLimit = std::chrono::milliseconds(200);
  for (const char* script : {"sleep 60", "sleep 60 & wait", "exec >&- 2>&-; sleep 60"}) {
    const ProcessResult run = runShell(script, options);
    EXPECT_TRUE(run.timedOut) << script;
    EXPECT_EQ(run.signal, SIGKILL) << script;
    EXPECT_LT(run.duration, std::chrono::seconds(20)) << script;
  }
}

TEST(ProcessRunner, ReportsTheSignalThatEndedAChild) {
  const ProcessResult run = runShell("kill -SEGV $$");
  EXPECT_EQ(run.signal, SIGSEGV);
  EXPECT_FALSE(run.exitStatus.has_value());
  EXPECT_FALSE(run.timedOut);
}

TEST(ProcessRunner, SetsTheWorkingDirectoryAndTheEnvironment) {
  const test_support::TemporaryDirectory directory;
  ProcessOptions options;
  options.workingDirectory = directory.path();
  options.environment.emplace("ADDED", "a value");
  EXPECT_EQ(runShell("pwd -P; echo \"$ADDED\"", options).standardOutput,
            std::filesystem::canonical(directory.path()).string() + "\na value\n");
}

TEST(ProcessRunner, HoldsTheInputOpenForAsLongAsItIsTold) {
  ProcessOptions options;
  options.standardInput = std::string("x");
  options.holdInputOpen = std::chrono::milliseconds(300);
  const ProcessResult run = runProcess("/bin/cat", options);
  EXPECT_EQ(run.standardOutput, "x");
  EXPECT_GE(run.duration, options.holdInputOpen);
}

TEST(ProcessRunner, RaisesForAProgramThatIsNotThere) {
  EXPECT_THROW(runProcess("/nonexistent/program", {}), std::system_error);
}

}  // namespace
}  // namespace quellor
