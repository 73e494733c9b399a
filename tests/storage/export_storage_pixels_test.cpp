#include "storage/export_storage_pixels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

HelperRequest exportRequest() { return test_support::writingRequest("export-storage-pixels"); }

HelperResponse run(const FakePlatform& platform, const HelperRequest& request = exportRequest()) {
  return runExportStoragePixels(platform.services(), request, wallClockNow());
}

TEST(RunExportStoragePixels, WritesTheRawFileAndReportsItsFacts) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto(), 1000);
  const HelperResponse response = run(platform);
  EXPECT_TRUE(response.success);
  EXPECT_EQ(response.protocolVersion, 1);
  EXPECT_EQ(response.operation, "export-storage-pixels");
  ASSERT_TRUE(response.storageExport);
  EXPECT_EQ(response.storageExport->rawPath, kOutputPath);
  EXPECT_EQ(response.storageExport->width, 2);
  EXPECT_EQ(response.storageExport->height, 1);
  EXPECT_EQ(response.storageExport->bytesPerPixel, 4);
  EXPECT_EQ(response.storageExport->orientationApplied, 0);
  EXPECT_EQ(response.storageExport->alphaInfo, "noneSkipLast");
  EXPECT_EQ(response.storageExport->colorSpaceName, "kCGColorSpaceSRGB");
  EXPECT_EQ(response.storageExport->iccProfileSHA256,
            "039058c6f2c0cb492c533b0a4d14ef77cc0f78abccced5287d84a1a2011cfb81");
  EXPECT_THAT(platform.files.written.at(kOutputPath),
              ElementsAre('R', 'G', 'B', 'A', 1, 2, 0, 0, 0, 1, 0, 0, 0, 4, 0, 10, 20, 30, 255, 11, 21, 31, 1));
}

TEST(RunExportStoragePixels, ReportsTheInputButNoOutput) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto(), 1000);
  const HelperResponse response = run(platform);
  ASSERT_TRUE(response.input);
  EXPECT_EQ(response.input->bytes, 1000);
  EXPECT_FALSE(response.input->path || response.input->decodeValidated);
  EXPECT_FALSE(response.quality || response.output || response.removedItems || response.error);
}

TEST(RunExportStoragePixels, TakesItsStepsInOrder) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  run(platform);
  test_support::Calls steps;
  for (const std::string& call : platform.calls)
    if (!call.starts_with("auxiliary") && !call.starts_with("properties")) steps.push_back(call);
  EXPECT_THAT(steps, ElementsAre("exists /in/a.heic", "exists /out/b.heic", "attributes /in/a.heic", "open /in/a.heic",
                                 "decode 0", "open /in/a.heic", "decode 0", "context 2x1", "make samples",
                                 "write /out/b.heic"));
}

TEST(RunExportStoragePixels, AlwaysWarnsThatOrientationIsNotApplied) {
  for (const std::optional<int> orientation : {std::optional<int>(), std::optional<int>(1), std::optional<int>(6)}) {
    FakePlatform platform;
    FakeImage image = smallPhoto();
    if (orientation) image.properties->set("Orientation", *orientation);
    platform.add(kInputPath, image);
    const HelperResponse response = run(platform);
    ASSERT_TRUE(response.warnings && response.storageExport);
    EXPECT_THAT(*response.warnings, ElementsAre("storage_pixel_no_orientation_transform"));
    EXPECT_EQ(response.storageExport->width, 2) << "as stored";
    EXPECT_EQ(response.storageExport->height, 1);
  }
}

TEST(RunExportStoragePixels, IgnoresQualityAndPolicy) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  HelperRequest request = exportRequest();
  request.quality = 7.0;
  request.metadataPolicy = MetadataPolicy{};
  const HelperResponse response = run(platform, request);
  EXPECT_TRUE(response.success);
  EXPECT_FALSE(response.quality);
}

TEST(RunExportStoragePixels, EchoesARelativeOutputPathAndTheOperationAsGiven) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  HelperRequest request = exportRequest();
  request.outputPath = "../x//./a.raw";
  request.operation = "some other spelling";
  const HelperResponse response = run(platform, request);
  ASSERT_TRUE(response.storageExport);
  EXPECT_EQ(response.storageExport->rawPath, "../x//./a.raw");
  EXPECT_EQ(response.operation, "some other spelling");
}

TEST(RunExportStoragePixels, RequiresAnOutputPathBeforeTheInputIsLookedAt) {
  for (const std::optional<std::string>& path : {std::optional<std::string>(), std::optional<std::string>("")}) {
    FakePlatform platform;
    HelperRequest request = exportRequest();
    request.outputPath = path;
    expectFailed(run(platform, request), "invalid_request", "outputPath (raw file) is required");
    EXPECT_THAT(platform.calls, IsEmpty());
  }
}

TEST(RunExportStoragePixels, ReportsAMissingInputBeforeTheOutputIsLookedAt) {
  FakePlatform platform;
  platform.files.files[kOutputPath] = FileAttributes{1};
  expectFailed(run(platform), "input_not_found", "input file not found");
  EXPECT_THAT(platform.calls, ElementsAre("exists /in/a.heic"));
}

TEST(RunExportStoragePixels, RefusesAnExistingOutputWithoutTouchingIt) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.files.files[kOutputPath] = FileAttributes{99};
  expectFailed(run(platform), "invalid_request", "raw output path already exists");
  EXPECT_THAT(platform.calls, ElementsAre("exists /in/a.heic", "exists /out/b.heic"));
  EXPECT_EQ(platform.files.files.at(kOutputPath)->size, 99);
}

TEST(RunExportStoragePixels, LeavesReadabilityToTheObservation) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.files.unreadable.insert(kInputPath);
  run(platform);
  EXPECT_THAT(platform.calls, Not(Contains(StartsWith("readable"))));
}

TEST(RunExportStoragePixels, ReportsWhatTheObservationRaises) {
  FakePlatform platform;
  platform.files.files[kInputPath] = FileAttributes{3};
  expectFailed(run(platform), "image_source_create_failed", "CGImageSourceCreateWithURL failed");
  FakeImage broken = smallPhoto();
  broken.image = std::nullopt;
  platform.add(kInputPath, broken);
  expectFailed(run(platform), "no_primary_image", "CGImageSourceCreateImageAtIndex failed at index 0");
  expectOnlyTheInputLeft(platform);
}

TEST(RunExportStoragePixels, ReportsStorageErrorsAsInternal) {
  FakePlatform vanished;
  vanished.add(kInputPath, smallPhoto());
  vanished.images.opensLeft[kInputPath] = 1;
  expectFailed(run(vanished), "internal_error", "image_source_create_failed");
  expectOnlyTheInputLeft(vanished);

  FakePlatform colorless;
  FakeImage image = smallPhoto();
  image.image->colorSpace = std::nullopt;
  colorless.add(kInputPath, image);
  expectFailed(run(colorless), "internal_error", "missing_color_space");

  FakePlatform grey;
  image.image->colorSpace = ColorSpace(ColorModel::grey, "kCGColorSpaceGenericGrayGamma2_2", nullptr, false);
  grey.add(kInputPath, image);
  expectFailed(run(grey), "internal_error", "rgba_draw_failed");
  expectOnlyTheInputLeft(grey);

  FakePlatform empty;
  image = smallPhoto();
  image.image->raster.height = 0;
  empty.add(kInputPath, image);
  expectFailed(run(empty), "internal_error", "invalid_dimensions");
}

TEST(RunExportStoragePixels, ReportsAFailedWriteWithItsDescription) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.files.writeFailure = "The file “a.raw” couldn’t be saved in the folder “out”: no such directory.";
  expectFailed(run(platform), "internal_error", *platform.files.writeFailure);
  expectOnlyTheInputLeft(platform);
}

TEST(RunExportStoragePixels, MeasuresFromTheStartThatItIsGiven) {
  FakePlatform platform;
  const HelperResponse response = runExportStoragePixels(platform.services(), exportRequest(), wallClockNow() - 5.0);
  EXPECT_GE(response.elapsedMilliseconds, 5000);
  EXPECT_LT(response.elapsedMilliseconds, 60000);
}

}  // namespace
}  // namespace quellor
