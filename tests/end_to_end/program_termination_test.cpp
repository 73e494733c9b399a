// What is left when a run is ended from outside.

#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/support/running_program.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/writing_operations.h"

namespace quellor {
namespace {

using test_support::busyPicture;
using test_support::hasTemporaryFile;
using test_support::kEncodeCandidate;
using test_support::kExport;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::RunningProgram;
using test_support::snapshotOf;
using test_support::TemporaryDirectory;

/// A run that writes a picture into an empty folder, and what is told of it afterwards.
class Termination : public ::testing::Test {
 protected:
  void ask(const std::string& operation, const std::string& picture) {
    const auto wanted = test_support::writingRequest(operation, inputs_.write("in.png", picture), output());
    request_ = inputs_.write("request.json", wanted.dump());
  }
  [[nodiscard]] RunningProgram start(int ignored = 0) const { return RunningProgram(request_, answer(), ignored); }
  [[nodiscard]] std::filesystem::path output() const { return outputs_.path() / "out"; }
  [[nodiscard]] std::filesystem::path answer() const { return inputs_.path() / "answer.json"; }

  [[nodiscard]] bool beginsItsFile(RunningProgram& program) const {
    return test_support::waitForTemporaryFile(program, outputs_.path());
  }

  const TemporaryDirectory outputs_;

 private:
  const TemporaryDirectory inputs_;
  std::filesystem::path request_;
};

void expectEndedBy(int signal, int status) {
#ifdef QUELLOR_SANITIZED  // their handlers for faults report and end the process themselves
  if (signal == SIGSEGV || signal == SIGBUS) {
    EXPECT_NE(status, 0);
    return;
  }
#endif
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
}

class SignalledWriter : public Termination, public ::testing::WithParamInterface<std::tuple<const char*, int>> {};

TEST_P(SignalledWriter, RemovesTheTemporaryFileAndEndsByTheSignal) {
  const auto& [operation, signal] = GetParam();
  ask(operation, busyPicture(1500, 1000));
  RunningProgram program = start();
  ASSERT_TRUE(beginsItsFile(program)) << "there never was a temporary file";

  program.send(signal);
  expectEndedBy(signal, program.wait());
  EXPECT_TRUE(outputs_.isEmpty());
  EXPECT_EQ(std::filesystem::file_size(answer()), 0U);
}

INSTANTIATE_TEST_SUITE_P(All, SignalledWriter,
                         ::testing::Combine(::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded),
                                            ::testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV,
                                                              SIGBUS, SIGXCPU)),
                         [](const auto& tested) {
                           return test_support::testNameOf(std::get<0>(tested.param)) + "_signal_" +
                                  std::to_string(std::get<1>(tested.param));
                         });

// Its file is there for a moment only, so the signal may come too late.
TEST_F(Termination, OfAnExportRemovesTheTemporaryFile) {
  ask(kExport, test_support::largePicture());
  int inTime = 0;
  for (int attempt = 0; attempt < 20 && inTime < 3; ++attempt) {
    RunningProgram program = start();
    const bool runs = beginsItsFile(program);
    if (runs) program.send(SIGTERM);
    program.wait();
    EXPECT_FALSE(hasTemporaryFile(outputs_.path()));
    const bool finished = std::filesystem::remove(output());
    if (runs && !finished) ++inTime;
  }
  EXPECT_GT(inTime, 0);
}

TEST_F(Termination, DoesNotComeOfASignalThatTheProgramIsStartedToIgnore) {
  ask(kEncodeCandidate, busyPicture(300, 200));
  RunningProgram program = start(SIGHUP);
  ASSERT_TRUE(beginsItsFile(program)) << "there never was a temporary file";
  program.send(SIGHUP);
  EXPECT_EQ(program.wait(), 0);
  EXPECT_EQ(snapshotOf(outputs_.path()).size(), 1U);
  EXPECT_TRUE(std::filesystem::exists(output()));
}

class AnyMoment : public Termination, public ::testing::WithParamInterface<const char*> {};

TEST_P(AnyMoment, LeavesTheWholeFileOrNothing) {
  using Clock = std::chrono::steady_clock;
  ask(GetParam(), busyPicture(300, 200));
  const auto begin = Clock::now();
  ASSERT_EQ(start().wait(), 0);
  const auto duration = Clock::now() - begin;
  const auto whole = snapshotOf(outputs_.path());
  ASSERT_EQ(whole.size(), 1U);

  constexpr int kMoments = 24;
  for (int moment = 0; moment <= kMoments; ++moment) {
    std::filesystem::remove(output());
    RunningProgram program = start();
    std::this_thread::sleep_for(duration * moment / kMoments);
    program.send(SIGTERM);
    const int status = program.wait();
    const auto left = snapshotOf(outputs_.path());
    if (status != 0) expectEndedBy(SIGTERM, status);
    EXPECT_TRUE(left == whole || (left.empty() && status != 0)) << moment;
  }
}

INSTANTIATE_TEST_SUITE_P(All, AnyMoment,
                         ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded, kExport),
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
