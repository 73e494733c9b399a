// Destinations that exist, must not be written, or are unusual: the documented answer, and nothing else changed.

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/destination_test.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::kEveryWriter;
using test_support::snapshotOf;

class Destination : public test_support::DestinationTest {};

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
  std::filesystem::create_symlink(folder() / "nowhere", folder() / "dangling");
  std::filesystem::create_symlink("loop", folder() / "loop");
  auto before = snapshotOf(folder());
  for (const auto& output : {folder() / "dangling", folder() / "loop"}) {
    SCOPED_TRACE(output);
    if (!isExport()) {
      expectNotMoved(output, cannotSave(output, "a file with that name already exists"));
      continue;
    }
    // Nothing exists there, as far as the check can see, and the write then replaces the link itself.
    const json answer = write(output);
    EXPECT_TRUE(answer["success"].get<bool>()) << answer;
    auto after = snapshotOf(folder());
    const std::string name = output.filename().string();
    EXPECT_EQ(after[name].substr(0, 4), "RGBA") << name;
    before[name] = after[name];
    EXPECT_EQ(after, before);
  }
  EXPECT_FALSE(std::filesystem::exists(folder() / "nowhere"));
}

TEST_P(Destination, InAMissingDirectoryIsNotCreated) {
  expectNotCreated(folder() / "missing" / "out.heic", "no such directory");
}

TEST_P(Destination, BelowAFileIsNotCreated) {
  expectNotCreated(input() / "out.heic", "a part of its path is not a directory");
}

TEST_P(Destination, OfALongOrStrangeNameIsWritten) {
  for (const std::string& name : {std::string(255, 'n'), std::string("a b'c\"d\\e\nf"), std::string("фото.heic"),
                                  std::string("-rf"), std::string(".hidden"), std::string("%s%n")}) {
    SCOPED_TRACE(name);
    expectWritten(folder() / name);
  }
}

TEST_P(Destination, OfTooLongANameIsRefusedAndNothingIsLeft) {
  const auto output = folder() / std::string(256, 'n');
  expectNotMoved(output, cannotSave(output, "the name is too long"));
}

TEST_P(Destination, ThatIsWrittenAsADirectoryIsNoFile) {
  expectNotMoved(folder() / "out/", cannotSave(folder() / "out", "a part of its path is not a directory"));
}

TEST_P(Destination, OnADetourIsWrittenThereAndNamedAsItWas) {
  std::filesystem::create_directory(folder() / "sub");
  for (const char* detour : {"sub//one", "sub/../two", "./sub/./three", "sub/.././/sub/four"}) {
    SCOPED_TRACE(detour);
    expectWritten(folder().string() + "//" + detour);
  }
  for (const char* name : {"sub/one", "two", "sub/three", "sub/four"}) {
    EXPECT_TRUE(std::filesystem::exists(folder() / name)) << name;
  }
}

TEST_P(Destination, OnADetourThroughNothingIsNotCreated) {
  expectNotCreated(folder() / "missing" / ".." / "out", "no such directory");
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

INSTANTIATE_TEST_SUITE_P(All, Destination, kEveryWriter,
                         [](const auto& tested) { return test_support::testNameOf(tested.param); });

}  // namespace
}  // namespace quellor
