// What is left when a run is ended from outside, and when nobody reads its answer.

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/png_fixture.h"
#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/writing_operations.h"

namespace quellor {
namespace {

using test_support::kEncodeCandidate;
using test_support::kExport;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::snapshotOf;
using test_support::TemporaryDirectory;

std::string pictureOf(const test_support::PngSpec& spec) {
  const Bytes file = test_support::encodePng(spec);
  return {file.begin(), file.end()};
}

/// A picture without anything that repeats, so that encoding it takes a while.
std::string busyPicture(std::uint32_t width, std::uint32_t height) {
  test_support::PngSpec spec;
  spec.width = width;
  spec.height = height;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    std::uint32_t mixed = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ component * 0xC2B2AE3DU;
    mixed ^= mixed >> 15;
    return (mixed * 0x2C1B3C6DU) >> 24;
  };
  return pictureOf(spec);
}

/// A picture that is soon read, and whose pixels take a while to write.
std::string largePicture() {
  test_support::PngSpec spec;
  spec.width = 4000;
  spec.height = 2000;
  spec.sample = [](std::uint32_t, std::uint32_t, std::uint32_t component) { return 50 * component; };
  return pictureOf(spec);
}

/// The program as a child that reads its request from a file. Killed at the end if it still runs.
class Child {
 public:
  /// `ignored` is a signal that the child is started to ignore, or 0.
  Child(const std::filesystem::path& request, const std::filesystem::path& answer, int ignored = 0) : process_(fork()) {
    if (process_ != 0) return;
    if (ignored != 0) std::signal(ignored, SIG_IGN);
    const bool ready =
        std::freopen(request.c_str(), "r", stdin) != nullptr && std::freopen(answer.c_str(), "w", stdout) != nullptr;
    if (ready) execl(QUELLOR_PROGRAM, QUELLOR_PROGRAM, static_cast<char*>(nullptr));
    _exit(127);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (ended_) return;
    send(SIGKILL);
    wait();
  }

  void send(int signal) const { kill(process_, signal); }

  [[nodiscard]] bool runs() {
    if (!ended_) ended_ = waitpid(process_, &status_, WNOHANG) == process_;
    return !ended_;
  }

  int wait() {
    if (!ended_) ended_ = waitpid(process_, &status_, 0) == process_;
    return status_;
  }

 private:
  pid_t process_;
  bool ended_ = false;
  int status_ = 0;
};

bool hasTemporaryFile(const std::filesystem::path& folder) {
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() == ".part") return true;
  }
  return false;
}

/// A run that writes a picture into an empty folder, and what is told of it afterwards.
class Termination : public ::testing::Test {
 protected:
  void ask(const std::string& operation, const std::string& picture) {
    const auto wanted = test_support::writingRequest(operation, inputs_.write("in.png", picture), output());
    request_ = inputs_.write("request.json", wanted.dump());
  }
  [[nodiscard]] Child start(int ignored = 0) const { return Child(request_, answer(), ignored); }
  [[nodiscard]] std::filesystem::path output() const { return outputs_.path() / "out"; }
  [[nodiscard]] std::filesystem::path answer() const { return inputs_.path() / "answer.json"; }

  /// Waits until the child has begun its file, and returns whether it still runs.
  [[nodiscard]] bool waitForTemporaryFile(Child& child) const {
    while (child.runs() && !hasTemporaryFile(outputs_.path())) std::this_thread::yield();
    return child.runs();
  }

  const TemporaryDirectory outputs_;

 private:
  const TemporaryDirectory inputs_;
  std::filesystem::path request_;
};

void expectEndedBy(int signal, int status) { EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status; }

class SignalledWriter : public Termination, public ::testing::WithParamInterface<std::tuple<const char*, int>> {};

TEST_P(SignalledWriter, RemovesTheTemporaryFileAndEndsByTheSignal) {
  const auto& [operation, signal] = GetParam();
  ask(operation, busyPicture(1500, 1000));
  Child child = start();
  ASSERT_TRUE(waitForTemporaryFile(child)) << "there never was a temporary file";

  child.send(signal);
  expectEndedBy(signal, child.wait());
  EXPECT_TRUE(outputs_.isEmpty());
  EXPECT_EQ(std::filesystem::file_size(answer()), 0U);
}

INSTANTIATE_TEST_SUITE_P(All, SignalledWriter,
                         ::testing::Combine(::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded),
                                            ::testing::Values(SIGINT, SIGTERM, SIGHUP)),
                         [](const auto& tested) {
                           return test_support::testNameOf(std::get<0>(tested.param)) + "_signal_" +
                                  std::to_string(std::get<1>(tested.param));
                         });

// Its file is there for a moment only, so the signal may come too late.
TEST_F(Termination, OfAnExportRemovesTheTemporaryFile) {
  ask(kExport, largePicture());
  int inTime = 0;
  for (int attempt = 0; attempt < 20 && inTime < 3; ++attempt) {
    Child child = start();
    const bool runs = waitForTemporaryFile(child);
    if (runs) child.send(SIGTERM);
    child.wait();
    EXPECT_FALSE(hasTemporaryFile(outputs_.path()));
    if (runs && !std::filesystem::remove(output())) ++inTime;
  }
  EXPECT_GT(inTime, 0);
}

TEST_F(Termination, DoesNotComeOfASignalThatTheProgramIsStartedToIgnore) {
  ask(kEncodeCandidate, busyPicture(300, 200));
  Child child = start(SIGHUP);
  ASSERT_TRUE(waitForTemporaryFile(child)) << "there never was a temporary file";
  child.send(SIGHUP);
  EXPECT_EQ(child.wait(), 0);
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
    Child child = start();
    std::this_thread::sleep_for(duration * moment / kMoments);
    child.send(SIGTERM);
    const int status = child.wait();
    const auto left = snapshotOf(outputs_.path());
    if (status != 0) expectEndedBy(SIGTERM, status);
    EXPECT_TRUE(left == whole || (left.empty() && status != 0)) << moment;
  }
}

INSTANTIATE_TEST_SUITE_P(All, AnyMoment,
                         ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded, kExport),
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

/// The exit status of the program, as text in a line, with its standard output redirected as the shell has it: that of
/// a pipeline would be the status of its end.
std::string statusOfRedirected(const std::string& redirection, const nlohmann::json& wanted) {
  test_support::ProcessOptions options;
  options.arguments = {"-c", "exec 3>&1; { \"$0\" 3>&-; echo $? >&3; } " + redirection, QUELLOR_PROGRAM};
  options.standardInput = wanted.dump();
  return test_support::runProcess("/bin/sh", options).standardOutput;
}

class UnreadAnswer : public ::testing::TestWithParam<const char*> {};

TEST_P(UnreadAnswer, IsNotWrittenIntoAFileThatIsOpenedInstead) {
  const TemporaryDirectory folder;
  const auto photo = std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic";
  const auto request =
      folder.write("request.json", test_support::writingRequest(GetParam(), photo, folder.path() / "out").dump());
  for (const char* const closed : {">&-", "2>&-", ">&- 2>&-"}) {
    std::filesystem::remove(folder.path() / "out");
    const auto before = snapshotOf(folder.path());
    test_support::ProcessOptions options;
    options.arguments = {"-c", "\"$0\" <" + request.string() + " " + closed, QUELLOR_PROGRAM};
    EXPECT_EQ(test_support::runProcess("/bin/sh", options).exitStatus, 0) << closed;
    auto after = snapshotOf(folder.path());
    EXPECT_EQ(after.extract("out").mapped().find("protocolVersion"), std::string::npos) << closed;
    EXPECT_EQ(after, before) << closed;
  }
}

// Nobody can be told that the answer was not delivered; the file and the status are what they would have been.
TEST_P(UnreadAnswer, ChangesNeitherTheFileNorTheStatus) {
  const auto photo = std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic";
  for (const char* redirection : {">&-", ">/dev/full", "| true"}) {
    SCOPED_TRACE(redirection);
    const TemporaryDirectory folder;
    const auto wanted = test_support::writingRequest(GetParam(), photo, folder.path() / "out");
    EXPECT_EQ(statusOfRedirected(redirection, wanted), "0\n");
    ASSERT_EQ(snapshotOf(folder.path()).size(), 1U);
    EXPECT_GT(std::filesystem::file_size(folder.path() / "out"), 1000U);
  }
}

TEST_P(UnreadAnswer, KeepsTheStatusOfAFailure) {
  const TemporaryDirectory folder;
  const auto wanted = test_support::writingRequest(GetParam(), folder.path() / "missing", folder.path() / "out");
  for (const char* redirection : {">&-", ">/dev/full", "| true"}) {
    EXPECT_EQ(statusOfRedirected(redirection, wanted), "1\n") << redirection;
  }
  EXPECT_TRUE(folder.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, UnreadAnswer,
                         ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded, kExport),
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
