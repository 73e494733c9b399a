// What all operations that write an image share: staging, checking, moving, cleaning up.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "rewrite/encode_candidate.h"
#include "rewrite/rewrite_operations.h"
#include "tests/support/fake_platform.h"
#include "tests/support/writing_request.h"

namespace quellor {
namespace {

using test_support::expectFailed;
using test_support::expectOnlyTheInputLeft;
using test_support::FakeImage;
using test_support::FakePlatform;
using test_support::kInputPath;
using test_support::kOutputPath;
using test_support::smallPhoto;
using test_support::writingRequest;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

class WritingOperation : public ::testing::TestWithParam<const char*> {
 protected:
  WritingOperation() { platform_.add(kInputPath, smallPhoto(), 1000); }

  [[nodiscard]] HelperRequest request() const { return writingRequest(GetParam(), 0.5); }

  [[nodiscard]] HelperResponse run(const HelperRequest& asked) const {
    const std::string operation = GetParam();
    const WallClockSeconds start = wallClockNow();
    if (operation == "encode-candidate") return runEncodeCandidate(platform_.services(), asked, start);
    return runRewrite(platform_.services(), asked, operation == "rewrite-from-source", start);
  }
  [[nodiscard]] HelperResponse run() const { return run(request()); }

  /// The last call, without the random part of the temporary path.
  [[nodiscard]] std::string lastCall() const { return test_support::withoutUuids(platform_.calls).back(); }

  FakePlatform platform_;
};

INSTANTIATE_TEST_SUITE_P(Each, WritingOperation,
                         ::testing::Values("encode-candidate", "rewrite-from-source", "rewrite-decoded-image"),
                         [](const auto& each) {
                           std::string name = each.param;
                           for (char& letter : name)
                             if (letter == '-') letter = '_';
                           return name;
                         });

TEST_P(WritingOperation, LeavesTheFinishedFileAndNoTemporaryOne) {
  const HelperResponse response = run();
  EXPECT_TRUE(response.success);
  EXPECT_EQ(response.operation, GetParam());
  EXPECT_EQ(platform_.files.files.size(), 2u);
  EXPECT_TRUE(platform_.files.files.contains(kOutputPath));
  EXPECT_THAT(platform_.calls, Not(Contains(StartsWith("remove"))));
}

TEST_P(WritingOperation, ReportsTheOutputUnderItsOwnPathWithItsFinalSize) {
  platform_.files.attributesAfterMove = FileAttributes{777};
  const HelperResponse response = run();
  ASSERT_TRUE(response.output);
  EXPECT_EQ(response.output->path, kOutputPath);
  EXPECT_EQ(response.output->bytes, 777);
  EXPECT_EQ(response.output->decodeValidated, true);
}

TEST_P(WritingOperation, KeepsTheSizeOfTheTemporaryFileWhereTheFinalOneCannotBeMeasured) {
  platform_.files.attributesAfterMove = std::optional<FileAttributes>();
  HelperResponse response = run();
  EXPECT_TRUE(response.success) << "attributes that cannot be read";
  EXPECT_EQ(response.output->bytes, 500);
  EXPECT_EQ(response.output->path, kOutputPath);
}

TEST_P(WritingOperation, KeepsTheSizeOfTheTemporaryFileWhereTheFinalOneHasNone) {
  platform_.files.attributesAfterMove = FileAttributes{std::nullopt};
  EXPECT_EQ(run().output->bytes, 500);
}

TEST_P(WritingOperation, ListsWhatTheOutputLost) {
  FakeImage input = smallPhoto();
  input.properties->set("{IPTC}", PropertyDictionary{});
  PropertyDictionary depth;
  depth.set("Width", 1);
  input.auxiliaryInfo["kCGImageAuxiliaryDataTypeDepth"] = depth;
  platform_.add(kInputPath, input);
  platform_.images.destinations.output = smallPhoto();
  const HelperResponse response = run();
  ASSERT_TRUE(response.removedItems);
  EXPECT_THAT(*response.removedItems, ElementsAre("auxiliary:depth", "{IPTC}"));
}

TEST_P(WritingOperation, ReportsADestinationThatCannotBeCreatedAndStillCleansUp) {
  platform_.images.destinations.cannotBeCreated = true;
  expectFailed(run(), "destination_create_failed", "CGImageDestinationCreateWithURL failed");
  EXPECT_EQ(lastCall(), "remove /out/.output.heic.UUID.part") << "although it was never created";
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, RemovesThePartialFileOfAFailedFinalise) {
  platform_.images.destinations.finalizeFails = true;
  EXPECT_FALSE(run().success);
  EXPECT_EQ(lastCall(), "remove /out/.output.heic.UUID.part");
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, ReportsAFileThatIsMissingAfterFinalise) {
  platform_.images.destinations.nothingThereAfterwards = true;
  expectFailed(run(), "output_missing", "temporary output missing after finalize");
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, RefusesAnEmptyOutput) {
  platform_.images.destinations.bytes = 0;
  expectFailed(run(), "output_empty", "output file is empty");
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, RefusesAnOutputThatDoesNotDecode) {
  platform_.images.destinations.output = smallPhoto();
  platform_.images.destinations.output->image = std::nullopt;
  expectFailed(run(), "no_primary_image", "CGImageSourceCreateImageAtIndex failed at index 0");
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, RefusesAnOutputThatLostItsColorSpace) {
  FakeImage input = smallPhoto();
  input.image->colorSpace = ColorSpace(ColorModel::rgb, "kCGColorSpaceDisplayP3", nullptr, false);
  platform_.add(kInputPath, input);
  platform_.images.destinations.output = smallPhoto();
  expectFailed(run(), "color_space_changed", "Display P3 input color space was not preserved in output");
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, RefusesAnOutputWithAnotherOrientationUnlessThePolicyDoesNotMind) {
  FakeImage input = smallPhoto();
  input.properties->set("Orientation", 6);
  platform_.add(kInputPath, input);
  platform_.images.destinations.output = smallPhoto();
  platform_.images.destinations.output->properties->set("Orientation", 1);
  expectFailed(run(), "orientation_changed", "orientation changed from 6 to 1");
  expectOnlyTheInputLeft(platform_);

  HelperRequest tolerant = request();
  tolerant.metadataPolicy = MetadataPolicy{};
  tolerant.metadataPolicy->preserveOrientation = false;
  EXPECT_TRUE(run(tolerant).success);
}

TEST_P(WritingOperation, ComparesColorSpaceBeforeOrientation) {
  FakeImage input = smallPhoto();
  input.image->colorSpace = ColorSpace(ColorModel::rgb, "Display P3", nullptr, false);
  input.properties->set("Orientation", 6);
  platform_.add(kInputPath, input);
  platform_.images.destinations.output = smallPhoto();
  platform_.images.destinations.output->properties->set("Orientation", 1);
  EXPECT_EQ(run().error->code, "color_space_changed");
}

TEST_P(WritingOperation, NeverReplacesAFileThatAppearedMeanwhile) {
  platform_.images.destinations.whenFinalized = [this] { platform_.files.files[kOutputPath] = FileAttributes{99}; };
  expectFailed(run(), "atomic_replace_failed", "output path already exists");
  EXPECT_EQ(platform_.files.files.at(kOutputPath)->size, 99);
  EXPECT_EQ(platform_.files.files.size(), 2u) << "input and the other file, no temporary one";
}

TEST_P(WritingOperation, ReportsAFailedMoveWithItsDescription) {
  platform_.files.moveFailure = "The file “b.heic” couldn’t be saved.";
  expectFailed(run(), "atomic_replace_failed", "The file “b.heic” couldn’t be saved.");
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, DoesNotReportAFailedRemoval) {
  platform_.images.destinations.finalizeFails = true;
  platform_.files.removeFailure = true;
  const HelperResponse response = run();
  ASSERT_TRUE(response.error);
  EXPECT_NE(response.error->code, "internal_error");
}

TEST_P(WritingOperation, ReportsAttributesThatCannotBeReadAsInternal) {
  // The file is there, but its attributes are not.
  platform_.images.destinations.whenFinalized = [this] {
    platform_.files.files[platform_.images.writings.at(0)->path] = std::nullopt;
  };
  expectFailed(run(), "internal_error", "The file could not be looked at.");
  expectOnlyTheInputLeft(platform_);
}

TEST_P(WritingOperation, DropsTheInputsObservationWhenTheInputCannotBeOpenedAgain) {
  platform_.images.opensLeft[kInputPath] = 1;
  expectFailed(run(), "image_source_create_failed", "CGImageSourceCreateWithURL failed");
  EXPECT_EQ(lastCall(), "remove /out/.output.heic.UUID.part");
}

}  // namespace
}  // namespace quellor
