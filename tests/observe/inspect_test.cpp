#include "observe/inspect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::FakeImage;
using test_support::FakePlatform;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

HelperRequest requestFor(const std::string& path) {
  HelperRequest request;
  request.protocolVersion = 1;
  request.operation = "inspect";
  request.inputPath = path;
  return request;
}

HelperResponse inspect(const FakePlatform& platform, const HelperRequest& request) {
  return runInspect(platform.services(), request, wallClockNow());
}

TEST(RunInspect, ReportsTheObservationOfTheInputAndNothingElse) {
  FakePlatform platform;
  platform.add("/in.heic", FakeImage{}, 77);
  const HelperResponse response = inspect(platform, requestFor("/in.heic"));
  EXPECT_TRUE(response.success);
  EXPECT_EQ(response.protocolVersion, 1);
  ASSERT_TRUE(response.input);
  EXPECT_EQ(response.input->bytes, 77);
  EXPECT_FALSE(response.input->path || response.input->decodeValidated);
  EXPECT_FALSE(response.quality || response.output || response.storageExport || response.removedItems ||
               response.warnings || response.error);
}

TEST(RunInspect, ReportsAMissingInputWithoutOpeningAnything) {
  FakePlatform platform;
  const HelperResponse response = inspect(platform, requestFor("/missing.heic"));
  EXPECT_FALSE(response.success);
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, "input_not_found");
  EXPECT_EQ(response.error->message, "input file not found");
  EXPECT_FALSE(response.input);
  EXPECT_THAT(platform.calls, ElementsAre("exists /missing.heic"));
}

TEST(RunInspect, ReportsAFileThatIsNoImageWithoutAnObservation) {
  FakePlatform platform;
  platform.files.files["/in.txt"] = FileAttributes{3};
  const HelperResponse response = inspect(platform, requestFor("/in.txt"));
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, "image_source_create_failed");
  EXPECT_EQ(response.error->message, "CGImageSourceCreateWithURL failed");
  EXPECT_FALSE(response.input);
}

TEST(RunInspect, ReportsAnImageThatCannotBeDecoded) {
  FakePlatform platform;
  FakeImage broken;
  broken.image = std::nullopt;
  platform.add("/in.heic", broken);
  const HelperResponse response = inspect(platform, requestFor("/in.heic"));
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, "no_primary_image");
  EXPECT_EQ(response.error->message, "CGImageSourceCreateImageAtIndex failed at index 0");
  EXPECT_FALSE(response.input);
}

TEST(RunInspect, ReportsAnyOtherErrorAsInternalWithItsDescription) {
  FakePlatform platform;
  platform.add("/in.heic", FakeImage{});
  platform.images.failure = std::runtime_error("the disk is on fire");
  const HelperResponse response = inspect(platform, requestFor("/in.heic"));
  EXPECT_FALSE(response.success);
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, "internal_error");
  EXPECT_EQ(response.error->message, "the disk is on fire");
  EXPECT_FALSE(response.input);
}

TEST(RunInspect, IgnoresOutputPathQualityAndPolicy) {
  FakePlatform platform;
  platform.add("/in.heic", FakeImage{});
  HelperRequest request = requestFor("/in.heic");
  request.outputPath = "/out.heic";
  request.quality = 7.0;
  request.metadataPolicy = MetadataPolicy{};
  const HelperResponse response = inspect(platform, request);
  EXPECT_TRUE(response.success);
  EXPECT_FALSE(response.output || response.quality);
  EXPECT_THAT(platform.calls, Not(Contains(StartsWith("exists /out"))));
}

TEST(RunInspect, EchoesTheOperationAsItWasSent) {
  FakePlatform platform;
  platform.add("/in.heic", FakeImage{});
  HelperRequest request = requestFor("/in.heic");
  request.operation = "inspect with another spelling";
  EXPECT_EQ(inspect(platform, request).operation, "inspect with another spelling");
  request.inputPath = "/missing.heic";
  EXPECT_EQ(inspect(platform, request).operation, "inspect with another spelling");
}

TEST(RunInspect, MeasuresFromTheStartThatItIsGiven) {
  FakePlatform platform;
  const HelperResponse response = runInspect(platform.services(), requestFor("/x"), wallClockNow() - 5.0);
  EXPECT_GE(response.elapsedMilliseconds, 5000);
  EXPECT_LT(response.elapsedMilliseconds, 60000);
}

}  // namespace
}  // namespace quellor
