#include "rewrite/encode_candidate.h"

#include <limits>

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

HelperRequest encodeRequest(std::optional<double> quality = 0.5) { return writingRequest("encode-candidate", quality); }

HelperResponse run(const FakePlatform& platform, const HelperRequest& request = encodeRequest()) {
  return runEncodeCandidate(platform.services(), request, wallClockNow());
}

TEST(RunEncodeCandidate, ReportsInputOutputAndWhatHappened) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto(), 1000);
  const HelperResponse response = run(platform);
  EXPECT_TRUE(response.success);
  EXPECT_EQ(response.protocolVersion, 1);
  EXPECT_EQ(response.operation, "encode-candidate");
  EXPECT_EQ(response.quality, 0.5);
  ASSERT_TRUE(response.input && response.output && response.removedItems && response.warnings);
  EXPECT_EQ(response.input->bytes, 1000);
  EXPECT_FALSE(response.input->path || response.input->decodeValidated);
  EXPECT_EQ(response.output->path, kOutputPath);
  EXPECT_EQ(response.output->bytes, 500);
  EXPECT_EQ(response.output->decodeValidated, true);
  EXPECT_EQ(response.output->width, 2);
  EXPECT_FALSE(response.storageExport || response.error);
}

TEST(RunEncodeCandidate, TakesItsStepsInOrder) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  run(platform);
  test_support::Calls steps;
  for (const std::string& call : test_support::withoutUuids(platform.calls))
    if (!call.starts_with("auxiliary") && !call.starts_with("properties")) steps.push_back(call);
  const std::string temp = "/out/.output.heic.UUID.part";
  EXPECT_THAT(steps, ElementsAre("exists /in/a.heic", "readable /in/a.heic", "exists /out/b.heic",  //
                                 "attributes /in/a.heic", "open /in/a.heic", "decode 0",            // observation
                                 "open /in/a.heic", "decode 0", "create " + temp, "add image", "finalize",
                                 "exists " + temp, "attributes " + temp,                        // validation
                                 "open " + temp, "attributes " + temp, "decode 0", "decode 0",  //
                                 "open " + temp, "attributes " + temp, "decode 0", "decode 0",  // observation
                                 "exists /out/b.heic", "move " + temp + " to /out/b.heic", "attributes /out/b.heic"));
}

TEST(RunEncodeCandidate, EncodesAtTheRequestsQualityWithTheRequestsPolicy) {
  FakePlatform platform;
  FakeImage image = smallPhoto();
  image.properties->set("{GPS}", PropertyDictionary{});
  image.properties->set("{Exif}", PropertyDictionary{});
  platform.add(kInputPath, image);
  HelperRequest request = encodeRequest(0.125);
  request.metadataPolicy = MetadataPolicy{};
  request.metadataPolicy->removeGPS = true;
  const HelperResponse response = run(platform, request);
  const auto& properties = *platform.images.writings.at(0)->properties;
  EXPECT_EQ(*properties.find("kCGImageDestinationLossyCompressionQuality"), PropertyValue(0.125));
  EXPECT_FALSE(properties.contains("{GPS}"));
  EXPECT_TRUE(properties.contains("{Exif}"));
  ASSERT_TRUE(response.removedItems);
  EXPECT_THAT(*response.removedItems, ElementsAre("{GPS}"));
}

TEST(RunEncodeCandidate, ReportsNoWarningsAsAnEmptyListAndFurtherImagesByName) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  HelperResponse response = run(platform);
  ASSERT_TRUE(response.warnings);
  EXPECT_THAT(*response.warnings, IsEmpty());

  FakeImage three = smallPhoto();
  three.count = 3;
  FakePlatform second;
  second.add(kInputPath, three);
  response = run(second);
  ASSERT_TRUE(response.warnings);
  EXPECT_THAT(*response.warnings, ElementsAre("multiple_images_present_only_index_0_written"));
}

TEST(EncodeCandidateQuality, IsCheckedBeforeEverythingElse) {
  FakePlatform platform;
  HelperRequest request = encodeRequest(std::nullopt);
  request.outputPath.reset();
  const HelperResponse response = run(platform, request);
  expectFailed(response, "missing_quality", "quality is required for encode-candidate");
  EXPECT_FALSE(response.quality);
  EXPECT_THAT(platform.calls, IsEmpty());
}

TEST(EncodeCandidateQuality, MustBeFinite) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (const double quality : {infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}) {
    FakePlatform platform;
    expectFailed(run(platform, encodeRequest(quality)), "invalid_quality", "quality must be a finite number");
    EXPECT_THAT(platform.calls, IsEmpty());
  }
}

TEST(EncodeCandidateQuality, MustLieBetweenItsBoundsAndIsEchoedWhereItDoesNot) {
  for (const double quality : {1.0000001, -0.1, 1e300, -5e-324}) {
    FakePlatform platform;
    const HelperResponse response = run(platform, encodeRequest(quality));
    expectFailed(response, "quality_out_of_range", "quality must be between 0.0 and 1.0 inclusive");
    EXPECT_EQ(response.quality, quality);
    EXPECT_THAT(platform.calls, IsEmpty());
  }
}

TEST(EncodeCandidateQuality, MayBeEitherBound) {
  for (const double quality : {0.0, -0.0, 1.0}) {
    FakePlatform platform;
    platform.add(kInputPath, smallPhoto());
    const HelperResponse response = run(platform, encodeRequest(quality));
    EXPECT_TRUE(response.success) << quality;
    EXPECT_EQ(response.quality, quality);
  }
}

TEST(EncodeCandidateQuality, IsCheckedUnderTheOperationsOwnNameOnly) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  EXPECT_TRUE(run(platform, writingRequest("another name")).success);
}

TEST(EncodeCandidateOutputPath, IsRequiredBeforeTheInputIsLookedAt) {
  for (const std::optional<std::string>& path : {std::optional<std::string>(), std::optional<std::string>("")}) {
    FakePlatform platform;
    HelperRequest request = encodeRequest();
    request.outputPath = path;
    const HelperResponse response = run(platform, request);
    expectFailed(response, "invalid_request", "outputPath is required for encode-candidate");
    EXPECT_EQ(response.quality, 0.5);
    EXPECT_THAT(platform.calls, IsEmpty());
  }
}

TEST(EncodeCandidateInput, ThatIsMissingComesBeforeAnExistingOutput) {
  FakePlatform platform;
  platform.files.files[kOutputPath] = FileAttributes{1};
  expectFailed(run(platform), "input_not_found", "input file not found");
  EXPECT_THAT(platform.calls, ElementsAre("exists /in/a.heic"));
}

TEST(EncodeCandidateInput, MustBeReadable) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.files.unreadable.insert(kInputPath);
  expectFailed(run(platform), "input_not_readable", "input file is not readable");
  EXPECT_THAT(platform.calls, ElementsAre("exists /in/a.heic", "readable /in/a.heic"));
}

TEST(EncodeCandidateOutputPath, MustBeFreeBeforeAnythingIsObserved) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.files.files[kOutputPath] = FileAttributes{1};
  expectFailed(run(platform), "invalid_request", "output path already exists");
  EXPECT_THAT(platform.calls, Not(Contains(StartsWith("open"))));
  EXPECT_THAT(platform.calls, Not(Contains(StartsWith("remove"))));
  EXPECT_TRUE(platform.files.files.contains(kOutputPath));
}

TEST(EncodeCandidateInput, ThatIsNoImageIsReportedBeforeThereIsATemporaryName) {
  FakePlatform platform;
  platform.files.files[kInputPath] = FileAttributes{3};
  expectFailed(run(platform), "image_source_create_failed", "CGImageSourceCreateWithURL failed");
  EXPECT_THAT(platform.calls, Not(Contains(StartsWith("remove"))));
}

TEST(EncodeCandidateInput, OfMoreThan8BitsIsRefusedWithItsObservationDropped) {
  FakePlatform platform;
  FakeImage deep = smallPhoto();
  deep.image->raster.bitsPerComponent = 16;
  platform.add(kInputPath, deep);
  const HelperResponse response = run(platform);
  expectFailed(response, "unsupported_bit_depth", "bit depth 16 not supported");
  EXPECT_EQ(response.quality, 0.5);
  test_support::expectOnlyTheInputLeft(platform);
}

TEST(EncodeCandidateFailure, EchoesOperationAndQualityAndMeasuresTheTime) {
  FakePlatform platform;
  const HelperResponse response = runEncodeCandidate(platform.services(), encodeRequest(0.75), wallClockNow() - 5.0);
  EXPECT_EQ(response.operation, "encode-candidate");
  EXPECT_EQ(response.quality, 0.75);
  EXPECT_GE(response.elapsedMilliseconds, 5000);
}

TEST(EncodeCandidateFailure, OfAnyOtherKindIsInternalWithItsDescription) {
  FakePlatform platform;
  platform.add(kInputPath, smallPhoto());
  platform.images.failure = std::runtime_error("the disk is on fire");
  expectFailed(run(platform), "internal_error", "the disk is on fire");
}

}  // namespace
}  // namespace quellor
