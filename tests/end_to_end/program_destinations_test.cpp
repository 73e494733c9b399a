// Destinations that cannot be written, must not be, or are unusual: the documented answer, and nothing changed.

#include <chrono>
#include <filesystem>
#include <string>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/program.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/writing_operations.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::expectFailure;
using test_support::kEncodeCandidate;
using test_support::kExport;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::snapshotOf;

constexpr uid_t kNobody = 65534;

class Destination : public ::testing::TestWithParam<const char*> {
 protected:
  Destination() { std::filesystem::copy_file(std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic", input()); }

  [[nodiscard]] static std::string operation() { return GetParam(); }
  [[nodiscard]] static bool isExport() { return operation() == kExport; }
  [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }
  [[nodiscard]] std::filesystem::path input() const { return folder() / "in.heic"; }
  [[nodiscard]] json write(const std::filesystem::path& output, test_support::ProcessOptions options = {}) const {
    return ask(test_support::writingRequest(operation(), input(), output), std::move(options));
  }

  /// The failure that an operation answers, with the quality that some answer back taken off.
  static void expectRefused(const json& answer, const std::string& code, const std::string& message) {
    expectFailure(test_support::without(answer, "quality"), code, message);
  }

  /// Expects what an operation answers when its file could not be finished.
  static void expectUnfinished(const json& answer, const std::string& folderName, const std::string& reason) {
    if (isExport()) {
      expectRefused(answer, "internal_error",
                    "The file “out” couldn’t be saved in the folder “" + folderName + "”: " + reason + ".");
    } else if (operation() == kRewriteFromSource) {
      expectRefused(answer, "destination_add_from_source_failed",
                    "ImageIO could not add the HEIC source image to the destination.");
    } else {
      expectRefused(answer, "destination_finalize_failed", "CGImageDestinationFinalize failed");
    }
  }

  /// Expects the answer to an existing destination, and nothing changed.
  void expectRefusedAsExisting(const std::filesystem::path& output) const {
    const auto before = snapshotOf(folder());
    const json answer = write(output);
    if (isExport())
      expectRefused(answer, "invalid_request", "raw output path already exists");
    else if (operation() == kEncodeCandidate)
      expectRefused(answer, "invalid_request", "output path already exists");
    else
      expectRefused(answer, "atomic_replace_failed", "output path already exists");
    EXPECT_EQ(snapshotOf(folder()), before);
  }

  /// Expects the answer to a place where no file can be created, and nothing changed.
  void expectNotCreated(const std::filesystem::path& output, const std::string& reason,
                        test_support::ProcessOptions options = {}) const {
    const auto before = snapshotOf(folder());
    const json answer = write(output, std::move(options));
    if (isExport()) {
      expectRefused(answer, "internal_error",
                    "The file “" + output.filename().string() + "” couldn’t be saved in the folder “" +
                        output.parent_path().filename().string() + "”: " + reason + ".");
    } else {
      expectRefused(answer, "destination_create_failed", "CGImageDestinationCreateWithURL failed");
    }
    EXPECT_EQ(snapshotOf(folder()), before);
  }

  /// Expects a new file there, and nothing else new or changed.
  void expectWritten(const std::filesystem::path& output, test_support::ProcessOptions options = {}) const {
    auto before = snapshotOf(folder());
    const json answer = write(output, std::move(options));
    ASSERT_TRUE(answer["success"].get<bool>()) << answer;
    EXPECT_EQ(isExport() ? answer["storageExport"]["rawPath"] : answer["output"]["path"], output.string());
    auto after = snapshotOf(folder());
    ASSERT_EQ(after.size(), before.size() + 1);
    for (const auto& [name, content] : before) EXPECT_EQ(after[name], content) << name;
  }

 private:
  test_support::TemporaryDirectory folder_;
};

TEST_P(Destination, ThatIsAFileIsLeftAlone) {
  test_support::TemporaryDirectory elsewhere;
  expectRefusedAsExisting(elsewhere.write("precious", "precious"));
  EXPECT_EQ(snapshotOf(elsewhere.path()), (std::map<std::string, std::string>{{"precious", "precious"}}));
}

TEST_P(Destination, ThatIsADirectoryIsLeftAlone) {
  std::filesystem::create_directories(folder() / "out" / "inner");
  expectRefusedAsExisting(folder() / "out");
  expectRefusedAsExisting(folder() / "out" / "inner" / "..");
}

TEST_P(Destination, ThatIsTheInputIsLeftAlone) {
  std::filesystem::create_hard_link(input(), folder() / "hard");
  std::filesystem::create_symlink("in.heic", folder() / "soft");
  for (const auto& output : {input(), folder() / "hard", folder() / "soft", folder() / "." / "in.heic"}) {
    SCOPED_TRACE(output);
    expectRefusedAsExisting(output);
  }
}

TEST_P(Destination, ThatIsADanglingLinkIsNeverWrittenThrough) {
  std::filesystem::create_symlink(folder() / "nowhere", folder() / "link");
  const auto before = snapshotOf(folder());
  const json answer = write(folder() / "link");
  EXPECT_FALSE(std::filesystem::exists(folder() / "nowhere"));
  if (isExport()) {  // whose write replaces what is there when nothing seemed to be
    EXPECT_TRUE(answer["success"].get<bool>()) << answer;
    EXPECT_TRUE(std::filesystem::symlink_status(folder() / "link").type() == std::filesystem::file_type::regular);
    EXPECT_EQ(snapshotOf(folder()).size(), before.size());
    return;
  }
  EXPECT_EQ(answer["error"].value("code", ""), "atomic_replace_failed") << answer;
  EXPECT_THAT(answer["error"].value("message", ""), ::testing::HasSubstr("already exists"));
  EXPECT_EQ(snapshotOf(folder()), before);
}

TEST_P(Destination, InAMissingDirectoryIsNotCreated) {
  expectNotCreated(folder() / "missing" / "out.heic", "no such directory");
}

TEST_P(Destination, BelowAFileIsNotCreated) {
  expectNotCreated(input() / "out.heic", "a part of its path is not a directory");
}

TEST_P(Destination, InADirectoryThatMayNotBeWrittenIsNotCreated) {
  test_support::ProcessOptions options;
  if (geteuid() == 0) options.user = kNobody;
  std::filesystem::permissions(folder(), std::filesystem::perms(0755));
  std::filesystem::permissions(input(), std::filesystem::perms(0644));
  std::filesystem::create_directory(folder() / "closed");
  std::filesystem::permissions(folder() / "closed", std::filesystem::perms(0555));
  try {
    const auto run = test_support::runWithRequest(test_support::inspectRequest(input()), options);
    if (run.exitStatus != 0) GTEST_SKIP() << "another user cannot run the program where it was built";
  } catch (const std::system_error& error) {
    GTEST_SKIP() << "the program cannot be started as another user: " << error.what();
  }
  expectNotCreated(folder() / "closed" / "out.heic", "permission is denied", options);
}

TEST_P(Destination, OfALongOrStrangeNameIsWritten) {
  for (const std::string& name : {std::string(255, 'n'), std::string("a b'c\"d\\e\nf"), std::string("фото.heic"),
                                  std::string("-rf"), std::string(".hidden"), std::string("%s%n")}) {
    SCOPED_TRACE(name);
    expectWritten(folder() / name);
  }
}

TEST_P(Destination, OfTooLongANameIsRefusedAndNothingIsLeft) {
  const auto before = snapshotOf(folder());
  const json answer = write(folder() / std::string(256, 'n'));
  EXPECT_EQ(answer["error"].value("code", ""), isExport() ? "internal_error" : "atomic_replace_failed") << answer;
  EXPECT_THAT(answer["error"].value("message", ""), ::testing::HasSubstr("the name is too long"));
  EXPECT_EQ(snapshotOf(folder()), before);
}

TEST_P(Destination, RelativeToTheWorkingDirectoryIsWrittenThere) {
  std::filesystem::create_directory(folder() / "sub");
  test_support::ProcessOptions options;
  options.workingDirectory = folder() / "sub";
  expectWritten("out", options);
  expectWritten("../other", options);
  EXPECT_TRUE(std::filesystem::exists(folder() / "sub" / "out"));
  EXPECT_TRUE(std::filesystem::exists(folder() / "other"));
}

TEST_P(Destination, BehindALinkedDirectoryIsWrittenThere) {
  std::filesystem::create_directory(folder() / "sub");
  std::filesystem::create_directory_symlink("sub", folder() / "link");
  expectWritten(folder() / "link" / "out");
  EXPECT_TRUE(std::filesystem::exists(folder() / "sub" / "out"));
}

TEST_P(Destination, OnAFullFileSystemIsReportedAndNothingIsLeft) {
  // One page, mounted for the program alone; what is left is listed where it can be seen.
  test_support::ProcessOptions options;
  const std::string script =
      "mount -t tmpfs -o size=4k none \"$1\" 2>/dev/null || exit 77\n\"$0\"; echo $? \"left:$(ls -A \"$1\")\"";
  std::filesystem::create_directory(folder() / "full");
  options.arguments = {"-m", "/bin/sh", "-c", script, QUELLOR_PROGRAM, (folder() / "full").string()};
  options.standardInput = test_support::writingRequest(operation(), input(), folder() / "full" / "out").dump();
  const auto run = test_support::runProcess("/usr/bin/unshare", options);
  if (run.exitStatus != 0) GTEST_SKIP() << "not allowed to mount anything";
  const std::size_t line = run.standardOutput.find('\n');
  EXPECT_EQ(run.standardOutput.substr(line + 1), "1 left:\n");
  const json answer = json::parse(run.standardOutput.substr(0, line), nullptr, false);
  expectUnfinished(answer, "full", "there is no space left");
}

TEST_P(Destination, BeyondASizeLimitIsReportedAndNothingIsLeft) {
  const auto before = snapshotOf(folder());
  test_support::ProcessOptions options;
  options.arguments = {"-c", "ulimit -f 8; exec \"$0\"", QUELLOR_PROGRAM};  // blocks of 512 bytes
  options.standardInput = test_support::writingRequest(operation(), input(), folder() / "out").dump();
  const json answer = test_support::responseOf(test_support::runProcess("/bin/sh", options));
  expectUnfinished(answer, folder().filename().string(), "the file would be too large");
  EXPECT_EQ(snapshotOf(folder()), before);
}

INSTANTIATE_TEST_SUITE_P(All, Destination,
                         ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded, kExport),
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
