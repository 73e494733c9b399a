#include "rewrite/rewrite_operations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"
#include "tests/support/writing_request.h"

namespace quellor {
namespace {

using test_support::expectFailed;
using test_support::FakeImage;
using test_support::FakePlatform;
using test_support::kInputPath;
using test_support::kOutputPath;
using test_support::smallPhoto;
using test_support::writingRequest;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

HelperRequest rewriteRequest(bool fromSource) {
  return writingRequest(fromSource ? "rewrite-from-source" : "rewrite-decoded-image");
}

HelperResponse run(const FakePlatform& platform, bool fromSource) {
  return runRewrite(platform.services(), rewriteRequest(fromSource), fromSource, wallClockNow());
}

FakeImage deepPhoto() {
  FakeImage image = smallPhoto();
  image.image->raster.bitsPerComponent = 16;
  return image;
}

TEST(RunRewrite, ReportsInputOutputAndWhatHappened) {
  for (const bool fromSource : {true, false}) {
    FakePlatform platform;
    platform.add(kInputPath, smallPhoto(), 1000);
    const HelperResponse response = run(platform, fromSource);
    EXPECT_TRUE(response.success);
    EXPECT_EQ(response.protocolVersion, 1);
    EXPECT_EQ(response.operation, rewriteRequest(fromSource).operation);
    ASSERT_TRUE(response.input && response.output && response.removedItems && response.warnings);
    EXPECT_EQ(response.input->bytes, 1000);
    EXPECT_FALSE(response.input->path);
    EXPECT_EQ(response.output->path, kOutputPath);
    EXPECT_FALSE(response.quality || response.storageExport || response.error);
  }
}

TEST(RunRewrite, ChoosesTheWriterByTheFlagAlone) {
  FakePlatform copied;
  copied.add(kInputPath, smallPhoto());
  run(copied, true);
  EXPECT_THAT(copied.calls, Contains("add image from source"));
  EXPECT_THAT(copied.calls, Not(Contains("add image")));

  FakePlatform decoded;
  decoded.add(kInputPath, smallPhoto());
  run(decoded, false);
  EXPECT_THAT(decoded.calls, Contains("add image"));
  EXPECT_FALSE(decoded.images.writings.at(0)->properties->contains("kCGImageDestinationLossyCompressionQuality"));
}

TEST(RunRewrite, TakesItsStepsInOrderWithoutLookingAtTheOutputFirst) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  run(platform, true);
  const auto calls = test_support::withoutUuids(platform.calls);
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(calls[0], "exists /in/a.heic");
  EXPECT_EQ(calls[1], "readable /in/a.heic");
  EXPECT_EQ(calls[2], "attributes /in/a.heic");
  const auto position = [&](const std::string& call) { return std::find(calls.begin(), calls.end(), call); };
  EXPECT_LT(position("finalize"), position("exists /out/.output.heic.UUID.part"));
  EXPECT_LT(position("exists /out/.output.heic.UUID.part"), position("exists /out/b.heic"));
  EXPECT_EQ(calls[calls.size() - 2], "move /out/.output.heic.UUID.part to /out/b.heic");
  EXPECT_EQ(calls.back(), "attributes /out/b.heic");
}

TEST(RunRewrite, IgnoresAnyQuality) {
  for (const bool fromSource : {true, false}) {
    for (const double quality : {5.0, -1.0, 0.5}) {
      FakePlatform platform;
      platform.add(kInputPath, smallPhoto());
      HelperRequest request = rewriteRequest(fromSource);
      request.quality = quality;
      const HelperResponse response = runRewrite(platform.services(), request, fromSource, wallClockNow());
      EXPECT_TRUE(response.success);
      EXPECT_FALSE(response.quality);
    }
  }
}

TEST(RunRewrite, LeavesQualityOutOfFailuresToo) {
  FakePlatform platform;
  HelperRequest request = rewriteRequest(true);
  request.quality = 0.5;
  const HelperResponse response = runRewrite(platform.services(), request, true, wallClockNow());
  EXPECT_FALSE(response.success || response.quality);
}

TEST(RunRewrite, RequiresAnOutputPathBeforeTheInputIsLookedAt) {
  for (const bool fromSource : {true, false}) {
    for (const std::optional<std::string>& path : {std::optional<std::string>(), std::optional<std::string>("")}) {
      FakePlatform platform;
      HelperRequest request = rewriteRequest(fromSource);
      request.outputPath = path;
      expectFailed(runRewrite(platform.services(), request, fromSource, wallClockNow()), "invalid_request",
                   "outputPath is required for rewrite operations");
      EXPECT_THAT(platform.calls, IsEmpty());
    }
  }
}

TEST(RunRewrite, ReportsAMissingInput) {
  for (const bool fromSource : {true, false}) {
    FakePlatform platform;
    expectFailed(run(platform, fromSource), "input_not_found", "input file not found");
    EXPECT_THAT(platform.calls, ElementsAre("exists /in/a.heic"));
  }
}

TEST(RunRewrite, ReportsAnInputThatIsNotReadable) {
  for (const bool fromSource : {true, false}) {
    FakePlatform platform;
    platform.add(kInputPath, smallPhoto());
    platform.files.unreadable.insert(kInputPath);
    expectFailed(run(platform, fromSource), "input_not_readable", "input file is not readable");
  }
}

TEST(RunRewrite, RefusesAnExistingOutputOnlyWhenItMoves) {
  for (const bool fromSource : {true, false}) {
    FakePlatform platform;
    platform.add(kInputPath, smallPhoto());
    platform.files.files[kOutputPath] = FileAttributes{99};
    expectFailed(run(platform, fromSource), "atomic_replace_failed", "output path already exists");
    EXPECT_THAT(platform.calls, Contains("finalize"));
    EXPECT_THAT(platform.calls, Not(Contains(StartsWith("move"))));
    EXPECT_EQ(platform.files.files.at(kOutputPath)->size, 99);
    EXPECT_EQ(platform.files.files.size(), 2u) << "no temporary file";
  }
}

TEST(RunRewrite, CopiesADeepImageFromItsSource) {
  FakePlatform platform;
  platform.add(kInputPath, deepPhoto());
  platform.images.destinations.output = deepPhoto();
  EXPECT_TRUE(run(platform, true).success);
}

TEST(RunRewrite, RefusesToEncodeADeepImage) {
  FakePlatform platform;
  platform.add(kInputPath, deepPhoto());
  expectFailed(run(platform, false), "unsupported_bit_depth", "bit depth 16 not supported");
  test_support::expectOnlyTheInputLeft(platform);
}

TEST(RunRewrite, ReportsTheWarningsOfItsWriter) {
  const struct {
    bool fromSource;
    std::size_t count;
    std::vector<std::string> warnings;
  } cases[] = {
      {true,
       1,
       {"bitstream_passthrough_not_guaranteed", "metadata_selective_removal_may_be_limited_on_from_source_path"}},
      {true,
       2,
       {"bitstream_passthrough_not_guaranteed", "multiple_images_present_only_index_0_copied",
        "metadata_selective_removal_may_be_limited_on_from_source_path"}},
      {false, 1, {}},
      {false, 2, {"multiple_images_present_only_index_0_written"}},
  };
  for (const auto& c : cases) {
    FakePlatform platform;
    FakeImage image = smallPhoto();
    image.count = c.count;
    platform.add(kInputPath, image);
    EXPECT_EQ(run(platform, c.fromSource).warnings, c.warnings);
  }
}

TEST(RunRewrite, ReportsAFailedFinaliseByTheWriter) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.images.destinations.finalizeFails = true;
  expectFailed(run(platform, true), "destination_add_from_source_failed",
               "ImageIO could not add the HEIC source image to the destination.");
  expectFailed(run(platform, false), "destination_finalize_failed", "CGImageDestinationFinalize failed");
}

TEST(RunRewrite, ReportsAnyOtherErrorAsInternalWithItsDescription) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.images.failure = std::runtime_error("the disk is on fire");
  expectFailed(run(platform, true), "internal_error", "the disk is on fire");
}

TEST(RunRewrite, MeasuresFromTheStartThatItIsGiven) {
  FakePlatform platform;
  const HelperResponse response = runRewrite(platform.services(), rewriteRequest(true), true, wallClockNow() - 5.0);
  EXPECT_GE(response.elapsedMilliseconds, 5000);
  EXPECT_LT(response.elapsedMilliseconds, 60000);
}

}  // namespace
}  // namespace quellor
