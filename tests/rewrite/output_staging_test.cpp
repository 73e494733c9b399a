#include "rewrite/output_staging.h"

#include <algorithm>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "protocol/failure.h"
#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::Calls;
using test_support::FakeImage;
using test_support::FakePlatform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kTemp = "/out/.output.heic.part";
constexpr const char* kOutput = "/out/a.heic";

template <typename Step>
std::string raisedBy(Step step) {
  try {
    step();
    return "nothing";
  } catch (const HelperFailure& failure) {
    return failure.code + ": " + failure.message;
  } catch (const FileError& error) {
    return std::string("FileError: ") + error.what();
  }
}

TEST(TempOutputPath, IsAHiddenFileInTheDirectoryOfTheOutput) {
  const std::string name =
      "/\\.output\\.heic\\.[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\\.part";
  const struct {
    const char* output;
    const char* directory;
  } cases[] = {{"/photos/out/img.heic", "/photos/out"},
               {"/img.heic", ""},
               {"img.heic", "\\."},
               {"out/img.heic", "out"},
               {"../img.heic", "\\.\\."},
               {"/photos//out//img.heic", "/photos//out"},
               {"/photos/out/", "/photos"},
               {"/a b/\u753b\u50cf.heic", "/a b"}};
  for (const auto& c : cases) {
    const std::string path = tempOutputPath(c.output);
    EXPECT_TRUE(std::regex_match(path, std::regex(c.directory + name))) << c.output << " gave " << path;
  }
}

TEST(TempOutputPath, IsAnotherOneAtEveryCall) { EXPECT_NE(tempOutputPath(kOutput), tempOutputPath(kOutput)); }

TEST(ValidateOutputFile, AcceptsAFileThatDecodes) {
  FakePlatform platform;
  platform.add(kTemp, FakeImage{}, 1);
  EXPECT_NO_THROW(validateOutputFile(platform.services(), kTemp));
  EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "decode 0"), 2);
}

TEST(ValidateOutputFile, PassesOnThatTheFileCannotBeLookedAt) {
  FakePlatform platform;
  EXPECT_EQ(raisedBy([&] { validateOutputFile(platform.services(), kTemp); }),
            "FileError: The file could not be looked at.");
}

TEST(ValidateOutputFile, RefusesAFileWithoutAByteOrWithoutASize) {
  for (const std::optional<std::int64_t> size : {std::optional<std::int64_t>(0), std::optional<std::int64_t>(-1), {}}) {
    FakePlatform platform;
    platform.add(kTemp, FakeImage{});
    platform.files.files[kTemp] = FileAttributes{size};
    EXPECT_EQ(raisedBy([&] { validateOutputFile(platform.services(), kTemp); }), "output_empty: output file is empty");
    EXPECT_THAT(platform.calls, ElementsAre("attributes /out/.output.heic.part"));
  }
}

TEST(ValidateOutputFile, RefusesWhatIsNoImage) {
  FakePlatform platform;
  platform.files.files[kTemp] = FileAttributes{3};
  EXPECT_EQ(raisedBy([&] { validateOutputFile(platform.services(), kTemp); }),
            "image_source_create_failed: CGImageSourceCreateWithURL failed");
}

TEST(ValidateOutputFile, RefusesAnImageThatDoesNotDecode) {
  FakePlatform platform;
  FakeImage broken;
  broken.image = std::nullopt;
  platform.add(kTemp, broken);
  EXPECT_EQ(raisedBy([&] { validateOutputFile(platform.services(), kTemp); }),
            "no_primary_image: CGImageSourceCreateImageAtIndex failed at index 0");
}

TEST(AtomicReplace, MovesTheFile) {
  FakePlatform platform;
  platform.add(kTemp, FakeImage{}, 7);
  atomicReplace(platform.files, kTemp, kOutput);
  EXPECT_FALSE(platform.files.files.contains(kTemp));
  EXPECT_EQ(platform.files.files.at(kOutput)->size, 7);
  EXPECT_THAT(platform.calls, ElementsAre("exists /out/a.heic", "move /out/.output.heic.part to /out/a.heic"));
}

TEST(AtomicReplace, RefusesAnExistingDestinationWithoutTouchingIt) {
  FakePlatform platform;
  platform.add(kTemp, FakeImage{}, 7);
  platform.files.files[kOutput] = FileAttributes{99};
  EXPECT_EQ(raisedBy([&] { atomicReplace(platform.files, kTemp, kOutput); }),
            "atomic_replace_failed: output path already exists");
  EXPECT_EQ(platform.files.files.at(kOutput)->size, 99);
  EXPECT_TRUE(platform.files.files.contains(kTemp));
  EXPECT_THAT(platform.calls, ElementsAre("exists /out/a.heic"));
}

TEST(AtomicReplace, ReportsAFailedMoveWithItsDescriptionAndLeavesTheTemporaryFile) {
  FakePlatform platform;
  platform.add(kTemp, FakeImage{}, 7);
  platform.files.moveFailure = "The file “a.heic” couldn’t be saved.";
  EXPECT_EQ(raisedBy([&] { atomicReplace(platform.files, kTemp, kOutput); }),
            "atomic_replace_failed: The file “a.heic” couldn’t be saved.");
  EXPECT_TRUE(platform.files.files.contains(kTemp));
}

TEST(StagedFile, IsRemovedAtTheEndWhenItIsSet) {
  FakePlatform platform;
  platform.files.files[kTemp] = FileAttributes{1};
  {
    StagedFile staged(platform.files);
    staged.set(kTemp);
    EXPECT_THAT(platform.calls, IsEmpty());
  }
  EXPECT_THAT(platform.calls, ElementsAre("remove /out/.output.heic.part"));
  EXPECT_THAT(platform.files.files, IsEmpty());
}

TEST(StagedFile, IsLeftAloneWhenItWasNeverSetOrIsReleased) {
  FakePlatform platform;
  { const StagedFile staged(platform.files); }
  {
    StagedFile staged(platform.files);
    staged.set(kTemp);
    staged.release();
  }
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST(StagedFile, DoesNotMindAFailedRemoval) {
  FakePlatform platform;
  EXPECT_NO_THROW({
    StagedFile staged(platform.files);
    staged.set(kTemp);
  });
  EXPECT_THAT(platform.calls, ElementsAre("remove /out/.output.heic.part"));
}

}  // namespace
}  // namespace quellor
