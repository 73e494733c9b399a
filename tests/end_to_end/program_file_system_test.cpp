// File systems and rights that do not let a file be written, and several runs that want the same place.

#include <array>
#include <cstddef>
#include <filesystem>
#include <future>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/destination_test.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::kEveryWriter;
using test_support::ProcessOptions;
using test_support::snapshotOf;

class FileSystem : public test_support::DestinationTest {
 protected:
  /// The answer to writing `disk()`/out, on a file system of its own that only the program sees; null where the test
  /// may not mount one. Expects a failure and that nothing is on it afterwards.
  [[nodiscard]] json writeOnto(const std::string& mountOptions) const {
    std::filesystem::create_directory(disk());
    ProcessOptions options;
    options.arguments = {geteuid() == 0 ? "-m" : "-rm",
                         "/bin/sh",
                         "-c",
                         "mount -t tmpfs -o \"$2\" none \"$1\" || exit 77\n"
                         "\"$0\"; echo $? \"left:$(ls -A \"$1\")\"",
                         QUELLOR_PROGRAM,
                         disk().string(),
                         mountOptions};
    options.standardInput = requestFor(disk() / "out").dump();
    const auto run = test_support::runProcess("/usr/bin/unshare", options);
    const std::size_t line = run.standardOutput.find('\n');
    if (line == std::string::npos) return nullptr;
    EXPECT_EQ(run.standardOutput.substr(line + 1), "1 left:\n");
    EXPECT_EQ(run.standardError, "");
    return json::parse(run.standardOutput.substr(0, line), nullptr, false);
  }

  [[nodiscard]] std::filesystem::path disk() const { return folder() / "disk"; }
};

TEST_P(FileSystem, ThatIsFullIsReportedAndNothingIsLeft) {
  const json answer = writeOnto("size=4k");  // a page, which the beginning of a file fits on
  if (answer.is_null()) GTEST_SKIP() << "not allowed to mount anything";
  expectUnfinished(answer, disk() / "out", "there is no space left");
}

TEST_P(FileSystem, WithoutRoomForAnotherNameIsReported) {
  const json answer = writeOnto("size=4m,nr_inodes=1");  // which its own directory takes
  if (answer.is_null()) GTEST_SKIP() << "not allowed to mount anything";
  expectNotBegun(answer, disk() / "out", "there is no space left");
}

TEST_P(FileSystem, ThatIsReadOnlyIsReported) {
  const json answer = writeOnto("size=4m,ro");
  if (answer.is_null()) GTEST_SKIP() << "not allowed to mount anything";
  expectNotBegun(answer, disk() / "out", "the file system is read-only");
}

TEST_P(FileSystem, WithALimitOfSizeIsReportedAndNothingIsLeft) {
  const auto before = snapshotOf(folder());
  for (const char* blocks : {"0", "8"}) {  // of 512 bytes
    ProcessOptions options;
    options.arguments = {"-c", "ulimit -f \"$1\"; exec \"$0\"", QUELLOR_PROGRAM, blocks};
    options.standardInput = requestFor(folder() / "out").dump();
    const json answer = test_support::responseOf(test_support::runProcess("/bin/sh", options));
    expectUnfinished(answer, folder() / "out", "the file would be too large");
    EXPECT_EQ(snapshotOf(folder()), before) << blocks;
  }
}

TEST_P(FileSystem, WithAFolderThatMayNotBeWrittenIsReported) {
  const auto options = asAnOrdinaryUser();
  if (!options) GTEST_SKIP() << "another user cannot run the program where it was built";
  std::filesystem::create_directory(folder() / "closed");
  std::filesystem::permissions(folder() / "closed", std::filesystem::perms(0555));
  expectNotCreated(folder() / "closed" / "out.heic", "permission is denied", *options);
}

// Its name cannot be synced there, which is no reason to fail: the file is in place.
TEST_P(FileSystem, WithAFolderThatMayNotBeListedIsWrittenOn) {
  const auto options = asAnOrdinaryUser();
  if (!options || !options->user) GTEST_SKIP() << "needs root, to look into a folder that another user cannot list";
  const auto dropBox = folder() / "drop box";
  std::filesystem::create_directory(dropBox);
  std::filesystem::permissions(dropBox, std::filesystem::perms(0333));
  expectWritten(dropBox / "out", *options);
}

TEST_P(FileSystem, WhereSeveralRunsWantTheSameNameHasTheFileOfOne) {
  const auto output = folder() / "out";
  std::array<std::future<json>, 4> runs;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const json wanted = test_support::with(requestFor(output), "quality", 0.2 * static_cast<double>(i + 1));
    runs[i] = std::async(std::launch::async, [wanted] { return test_support::ask(wanted); });
  }
  // Encode-candidate looks before it begins, and once more when it is done.
  std::set<std::string> refusals = {isExport() ? "invalid_request" : "atomic_replace_failed"};
  if (operation() == test_support::kEncodeCandidate) refusals.insert("invalid_request");
  std::vector<json> winners;
  for (auto& run : runs) {
    const json answer = run.get();
    if (answer["success"].get<bool>()) {
      winners.push_back(answer);
    } else {
      EXPECT_TRUE(refusals.contains(answer["error"]["code"].get<std::string>())) << answer;
      EXPECT_NE(answer["error"]["message"].get<std::string>().find("already exists"), std::string::npos) << answer;
    }
  }
  ASSERT_FALSE(winners.empty());
  EXPECT_EQ(snapshotOf(folder()).size(), 2U) << "not just the input and the output";
  if (isExport()) {  // whose file may be replaced by another run's, whole by whole
    EXPECT_EQ(std::filesystem::file_size(output), 15U + 480U * 360U * 4U);
  } else {
    EXPECT_EQ(winners.size(), 1U);
    EXPECT_EQ(winners.front()["output"]["bytes"], std::filesystem::file_size(output));
  }
}

INSTANTIATE_TEST_SUITE_P(All, FileSystem, kEveryWriter,
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
