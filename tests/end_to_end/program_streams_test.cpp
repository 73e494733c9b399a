// Standard streams that are closed, in non-blocking mode, are not what they should be, or that nobody reads; and what
// never comes out of them.

#include <chrono>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/destination_test.h"
#include "tests/support/heif_builder.h"
#include "tests/support/running_program.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::kEveryWriter;
using test_support::ProcessOptions;
using test_support::ProcessResult;
using test_support::request;
using test_support::snapshotOf;
using test_support::TemporaryDirectory;

const std::filesystem::path kPhoto = std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic";

/// More than a pipe holds.
constexpr std::size_t kLong = 500'000;

TEST(StandardInput, ThatCannotBeReadIsAnEmptyOne) {
  for (const char* input : {"<&-", "</dev/null", "</", "0>/dev/null"}) {
    SCOPED_TRACE(input);
    ProcessOptions options;
    options.arguments = {"-c", std::string("\"$0\" ") + input, QUELLOR_PROGRAM};
    const auto answer = test_support::responseOf(test_support::runProcess("/bin/sh", options));
    test_support::expectFailure(answer, "invalid_request", "empty stdin");
    EXPECT_EQ(answer.value("operation", ""), "unknown");
  }
}

ProcessResult runNonBlocking(const std::string& input) {
  ProcessOptions options;
  options.nonBlocking = true;
  options.holdInputOpen = std::chrono::milliseconds(100);
  return test_support::runWithInput(input, options);
}

TEST(NonBlockingStreams, TakeAndGiveWhatBlockingOnesDo) {
  const std::string operation(kLong, 'o');
  const json answer = test_support::responseOf(runNonBlocking(request(operation, "/a").dump()));
  test_support::expectFailure(answer, "unsupported_operation", "operation " + operation + " not supported");
}

TEST(NonBlockingStreams, AreNotEmptyBeforeTheirEnd) {
  test_support::expectFailure(test_support::responseOf(runNonBlocking("")), "invalid_request", "empty stdin");
}

TEST(NonBlockingStreams, TakeALongDecodingError) {
  const ProcessResult run = runNonBlocking("\"" + std::string(kLong, 'x'));
  EXPECT_EQ(run.exitStatus, 2) << describe(run);
  EXPECT_EQ(run.standardOutput, "");
  EXPECT_TRUE(run.standardError.starts_with("usage: quellor < request.json\ndecode error: "));
  EXPECT_GT(run.standardError.size(), kLong);
  EXPECT_TRUE(run.standardError.ends_with('\n'));
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

/// The exit status of the program, as text in a line, and what it says on standard error, with its standard output
/// redirected as the shell has it: the status of a pipeline would be that of its end. A reader of the pipeline has the
/// time to go away first.
ProcessResult runRedirected(const std::string& redirection, const json& wanted) {
  ProcessOptions options;
  options.arguments = {"-c", "exec 3>&1; { sleep 0.1; \"$0\" 3>&-; echo $? >&3; } " + redirection, QUELLOR_PROGRAM};
  options.standardInput = wanted.dump();
  return test_support::runProcess("/bin/sh", options);
}

struct Loss {
  const char* redirection;
  const char* reason;
};

constexpr Loss kLosses[] = {
    {">/dev/full", "No space left on device"}, {"| true", "Broken pipe"}, {"1</dev/null", "Bad file descriptor"}};

void expectLost(const ProcessResult& run, const Loss& loss) {
  EXPECT_EQ(run.standardOutput, "3\n");
  EXPECT_EQ(run.standardError, std::string("quellor: the response could not be written: ") + loss.reason + "\n");
}

class LostAnswer : public ::testing::TestWithParam<const char*> {};

TEST_P(LostAnswer, IsToldByTheStatusAndLeavesTheFile) {
  const TemporaryDirectory undisturbed;
  const auto reference = test_support::writingRequest(GetParam(), kPhoto, undisturbed.path() / "out");
  ASSERT_TRUE(test_support::ask(reference).value("success", false));
  for (const Loss& loss : kLosses) {
    SCOPED_TRACE(loss.redirection);
    const TemporaryDirectory folder;
    expectLost(runRedirected(loss.redirection, test_support::writingRequest(GetParam(), kPhoto, folder.path() / "out")),
               loss);
    EXPECT_TRUE(snapshotOf(folder.path()) == snapshotOf(undisturbed.path()));
  }
}

TEST_P(LostAnswer, IsToldByTheStatusAfterAFailure) {
  const TemporaryDirectory folder;
  const auto wanted = test_support::writingRequest(GetParam(), folder.path() / "missing", folder.path() / "out");
  for (const Loss& loss : kLosses) {
    SCOPED_TRACE(loss.redirection);
    expectLost(runRedirected(loss.redirection, wanted), loss);
  }
  EXPECT_TRUE(folder.isEmpty());
}

// Who closes it wants no answer, and has nothing but the status.
TEST_P(LostAnswer, IsNoLossWhereStandardOutputWasClosedBefore) {
  const TemporaryDirectory folder;
  const auto run = runRedirected(">&-", test_support::writingRequest(GetParam(), kPhoto, folder.path() / "out"));
  EXPECT_EQ(run.standardOutput + run.standardError, "0\n");
  EXPECT_TRUE(std::filesystem::exists(folder.path() / "out"));
  const auto failing = test_support::writingRequest(GetParam(), folder.path() / "missing", folder.path() / "other");
  EXPECT_EQ(runRedirected(">&-", failing).standardOutput, "1\n");
}

INSTANTIATE_TEST_SUITE_P(All, LostAnswer, kEveryWriter,
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

// A part of the answer is written then.
TEST(FileSizeLimit, ThatAnAnswerMeetsIsToldByTheStatus) {
  const TemporaryDirectory folder;
  ProcessOptions options;
  options.arguments = {"-c", "ulimit -f 1; exec \"$0\" >\"$1\"", QUELLOR_PROGRAM, (folder.path() / "answer").string()};
  options.standardInput = request(std::string(3000, 'o'), "/a").dump();
  const ProcessResult run = test_support::runProcess("/bin/sh", options);
  EXPECT_EQ(run.exitStatus, 3) << describe(run);
  EXPECT_EQ(run.standardError, "quellor: the response could not be written: File too large\n");
}

#ifndef QUELLOR_SANITIZED  // standard error is the sanitizers'
/// An image that the AV1 decoder complains about, as it does by itself on standard error.
std::string brokenAv1() {
  test_support::HeifBuilder file;
  file.brands = {"mif1", "avif"};
  file.properties = {test_support::box("av1C", {0x81, 0, 0x0C, 0}), test_support::ispe(64, 64)};
  file.items = {{1, "av01", Bytes(60, 0xFF), {{1, true}, {2, false}}}};
  const Bytes bytes = file.build();
  return {bytes.begin(), bytes.end()};
}

TEST(LinesOfLibraries, NeverReachStandardError) {
  const TemporaryDirectory folder;
  const auto file = folder.write("a.avif", brokenAv1());
  test_support::expectNoPrimaryImage(test_support::ask(test_support::inspectRequest(file)));
  for (const char* operation : {test_support::kEncodeCandidate, test_support::kRewriteFromSource,
                                test_support::kRewriteDecoded, test_support::kExport}) {
    const ProcessResult run =
        test_support::runWithRequest(test_support::writingRequest(operation, file, folder.path() / "out"));
    EXPECT_EQ(run.standardError, "") << operation;
    EXPECT_EQ(run.exitStatus, 1) << operation;
  }
}
#endif

}  // namespace
}  // namespace quellor
