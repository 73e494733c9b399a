// Standard streams that are closed, are not what they should be, or that nobody reads.

#include <filesystem>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/destination_test.h"
#include "tests/support/running_program.h"

namespace quellor {
namespace {

using test_support::kEveryWriter;
using test_support::snapshotOf;
using test_support::TemporaryDirectory;

const std::filesystem::path kPhoto = std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic";

TEST(StandardInput, ThatCannotBeReadIsAnEmptyOne) {
  for (const char* input : {"<&-", "</dev/null", "</", "0>/dev/null"}) {
    SCOPED_TRACE(input);
    test_support::ProcessOptions options;
    options.arguments = {"-c", std::string("\"$0\" ") + input, QUELLOR_PROGRAM};
    const auto answer = test_support::responseOf(test_support::runProcess("/bin/sh", options));
    test_support::expectFailure(answer, "invalid_request", "empty stdin");
    EXPECT_EQ(answer.value("operation", ""), "unknown");
  }
}

// A number that the caller left free would be that of the next file that is opened, and what is meant for a stream
// would end up in it.
TEST(ClosedStreams, NeverBecomeTheFileThatIsWritten) {
  const TemporaryDirectory inputs, outputs;
  const auto wanted =
      test_support::writingRequest(test_support::kEncodeCandidate,
                                   inputs.write("in.png", test_support::busyPicture(600, 400)), outputs.path() / "out");
  test_support::RunningProgram program(inputs.write("request.json", wanted.dump()), {});
  ASSERT_TRUE(test_support::waitForTemporaryFile(program, outputs.path())) << "there never was a temporary file";
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) EXPECT_EQ(program.leadsTo(stream), "/dev/null") << stream;
  EXPECT_EQ(program.wait(), 0);
  EXPECT_TRUE(std::filesystem::exists(outputs.path() / "out"));
}

/// The exit status of the program, as text in a line, with its standard output redirected as the shell has it: that of
/// a pipeline would be the status of its end. A reader of the pipeline has the time to go away first.
std::string statusOfRedirected(const std::string& redirection, const nlohmann::json& wanted) {
  test_support::ProcessOptions options;
  options.arguments = {"-c", "exec 3>&1; { sleep 0.1; \"$0\" 3>&-; echo $? >&3; } " + redirection, QUELLOR_PROGRAM};
  options.standardInput = wanted.dump();
  return test_support::runProcess("/bin/sh", options).standardOutput;
}

class UnreadAnswer : public ::testing::TestWithParam<const char*> {};

// Nobody can be told that the answer was not delivered; the file and the status are what they would have been.
TEST_P(UnreadAnswer, ChangesNeitherTheFileNorTheStatus) {
  const TemporaryDirectory undisturbed;
  const auto reference = test_support::writingRequest(GetParam(), kPhoto, undisturbed.path() / "out");
  ASSERT_TRUE(test_support::ask(reference).value("success", false));
  for (const char* redirection : {">&-", ">/dev/full", "| true"}) {
    SCOPED_TRACE(redirection);
    const TemporaryDirectory folder;
    const auto wanted = test_support::writingRequest(GetParam(), kPhoto, folder.path() / "out");
    EXPECT_EQ(statusOfRedirected(redirection, wanted), "0\n");
    EXPECT_TRUE(snapshotOf(folder.path()) == snapshotOf(undisturbed.path()));
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

INSTANTIATE_TEST_SUITE_P(All, UnreadAnswer, kEveryWriter,
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
