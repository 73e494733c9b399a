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

/// A picture without anything that repeats, so that encoding it takes a while.
std::string busyPicture() {
  test_support::PngSpec spec;
  spec.width = 1500;
  spec.height = 1000;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    std::uint32_t mixed = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ component * 0xC2B2AE3DU;
    mixed ^= mixed >> 15;
    return (mixed * 0x2C1B3C6DU) >> 24;
  };
  const Bytes file = test_support::encodePng(spec);
  return {file.begin(), file.end()};
}

/// The program as a child that reads its request from a file. Killed at the end if it still runs.
class Child {
 public:
  explicit Child(const std::filesystem::path& request, const std::filesystem::path& answer) : process_(fork()) {
    if (process_ != 0) return;
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

class Termination : public ::testing::TestWithParam<std::tuple<const char*, int>> {};

TEST_P(Termination, RemovesTheTemporaryFileAndEndsByTheSignal) {
  const auto& [operation, signal] = GetParam();
  const TemporaryDirectory inputs, outputs;
  const auto input = inputs.write("in.png", busyPicture());
  const auto wanted = test_support::writingRequest(operation, input, outputs.path() / "out.heic");
  Child child(inputs.write("request.json", wanted.dump()), inputs.path() / "answer.json");
  while (child.runs() && !hasTemporaryFile(outputs.path())) std::this_thread::yield();
  ASSERT_TRUE(child.runs()) << "there never was a temporary file";

  child.send(signal);
  const int status = child.wait();
  ASSERT_TRUE(WIFSIGNALED(status)) << status;
  EXPECT_EQ(WTERMSIG(status), signal);
  EXPECT_TRUE(outputs.isEmpty());
  EXPECT_EQ(std::filesystem::file_size(inputs.path() / "answer.json"), 0U);
}

INSTANTIATE_TEST_SUITE_P(All, Termination,
                         ::testing::Combine(::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded),
                                            ::testing::Values(SIGINT, SIGTERM, SIGHUP)),
                         [](const auto& tested) {
                           return test_support::testNameOf(std::get<0>(tested.param)) + "_signal_" +
                                  std::to_string(std::get<1>(tested.param));
                         });

/// Runs the program with its standard output redirected as the shell has it.
test_support::ProcessResult runRedirected(const std::string& redirection, const nlohmann::json& wanted) {
  test_support::ProcessOptions options;
  options.arguments = {"-c", "\"$0\" " + redirection, QUELLOR_PROGRAM};
  options.standardInput = wanted.dump();
  return test_support::runProcess("/bin/sh", options);
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
    const auto run = runRedirected(redirection, wanted);
    EXPECT_EQ(run.exitStatus, 0) << test_support::describe(run);
    ASSERT_EQ(snapshotOf(folder.path()).size(), 1U);
    EXPECT_GT(std::filesystem::file_size(folder.path() / "out"), 1000U);
  }
}

TEST_P(UnreadAnswer, KeepsTheStatusOfAFailure) {
  const TemporaryDirectory folder;
  const auto wanted = test_support::writingRequest(GetParam(), folder.path() / "missing", folder.path() / "out");
  for (const char* redirection : {">&-", ">/dev/full"}) {
    EXPECT_EQ(runRedirected(redirection, wanted).exitStatus, 1) << redirection;
  }
  EXPECT_TRUE(folder.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, UnreadAnswer,
                         ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded, kExport),
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
