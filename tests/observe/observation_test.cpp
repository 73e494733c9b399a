#include "observe/observation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::Calls;
using test_support::FakeImage;
using test_support::FakePlatform;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kPath = "/photos/a.heic";

/// 30 x 20 pixels of 10 bits in a named space with a profile of three bytes.
FakeImage photo() {
  FakeImage fake;
  fake.image->raster.width = 30;
  fake.image->raster.height = 20;
  fake.image->raster.bitsPerComponent = 10;
  fake.image->colorSpace =
      ColorSpace(ColorModel::rgb, "Some Space", std::make_shared<const Bytes>(Bytes{1, 2, 3}), true);
  return fake;
}

PropertyDictionary anyEntry() {
  PropertyDictionary info;
  info.set("Width", 8);
  return info;
}

std::string codeRaisedBy(const FakePlatform& platform) {
  try {
    observeFile(platform.services(), kPath, nullptr, false);
    return "nothing";
  } catch (const HelperFailure& failure) {
    return failure.code + ": " + failure.message;
  }
}

TEST(ObserveFile, ReportsTheFactsOfTheImage) {
  FakePlatform platform;
  FakeImage image = photo();
  image.count = 3;
  image.properties->set("Orientation", 6);
  platform.add(kPath, image, 4711);

  const ImageObservation observation = observeFile(platform.services(), kPath, nullptr, false);
  EXPECT_EQ(observation.bytes, 4711);
  EXPECT_EQ(observation.imageCount, 3);
  EXPECT_EQ(observation.width, 30);
  EXPECT_EQ(observation.height, 20);
  EXPECT_EQ(observation.bitDepth, 10);
  EXPECT_EQ(observation.orientation, 6);
  EXPECT_EQ(observation.colorSpaceName, "Some Space");
  EXPECT_EQ(observation.iccProfileBytes, 3);
  EXPECT_EQ(observation.iccProfileSHA256, "039058c6f2c0cb492c533b0a4d14ef77cc0f78abccced5287d84a1a2011cfb81");
}

TEST(ObserveFile, TakesTheSizeBeforeTheImageIsOpenedAndDecodesOnce) {
  FakePlatform platform;
  platform.add(kPath, photo());
  observeFile(platform.services(), kPath, nullptr, false);
  ASSERT_GE(platform.calls.size(), 3u);
  EXPECT_EQ(platform.calls[0], "attributes /photos/a.heic");
  EXPECT_EQ(platform.calls[1], "open /photos/a.heic");
  EXPECT_EQ(platform.calls[2], "decode 0");
  EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "decode 0"), 1);
}

TEST(ObserveFile, UsesTheSourceThatItIsGiven) {
  FakePlatform platform;
  platform.files.files[kPath] = FileAttributes{5};
  Calls calls;
  const test_support::FakeImageSource source(photo(), calls);
  EXPECT_EQ(observeFile(platform.services(), kPath, &source, false).width, 30);
  EXPECT_THAT(platform.calls, ElementsAre("attributes /photos/a.heic"));
}

TEST(ObserveFile, LeavesTheSizeAbsentWhenItCannotBeLearned) {
  FakePlatform platform;
  platform.add(kPath, photo());
  platform.files.files[kPath] = std::nullopt;
  EXPECT_EQ(observeFile(platform.services(), kPath, nullptr, false).bytes, std::nullopt);
  platform.files.files[kPath] = FileAttributes{std::nullopt};
  EXPECT_EQ(observeFile(platform.services(), kPath, nullptr, false).bytes, std::nullopt);
}

TEST(ObserveFile, FailsForAFileThatIsNoImageAlthoughItsSizeIsKnown) {
  FakePlatform platform;
  platform.files.files[kPath] = FileAttributes{12};
  EXPECT_EQ(codeRaisedBy(platform), "image_source_create_failed: CGImageSourceCreateWithURL failed");
}

TEST(ObserveFile, FailsWhenThePrimaryImageCannotBeDecoded) {
  FakePlatform platform;
  FakeImage broken = photo();
  broken.image = std::nullopt;
  platform.add(kPath, broken);
  EXPECT_EQ(codeRaisedBy(platform), "no_primary_image: CGImageSourceCreateImageAtIndex failed at index 0");
}

TEST(ObserveFile, FailsForASourceWithoutImagesOnlyWhenDecoding) {
  FakePlatform platform;
  FakeImage none = photo();
  none.count = 0;
  platform.add(kPath, none);
  EXPECT_EQ(codeRaisedBy(platform), "no_primary_image: CGImageSourceCreateImageAtIndex failed at index 0");
  EXPECT_THAT(platform.calls, Contains("decode 0"));
}

TEST(ObserveFile, HasNoMetadataKeysAndNoOrientationForAnImageWithoutProperties) {
  FakePlatform platform;
  FakeImage bare = photo();
  bare.properties = std::nullopt;
  platform.add(kPath, bare);
  const ImageObservation observation = observeFile(platform.services(), kPath, nullptr, false);
  ASSERT_TRUE(observation.metadataKeys);
  EXPECT_THAT(*observation.metadataKeys, IsEmpty());
  EXPECT_EQ(observation.orientation, std::nullopt);
}

TEST(ObserveFile, ListsTopLevelMetadataKeysInCodePointOrder) {
  FakePlatform platform;
  FakeImage image = photo();
  PropertyDictionary exif;
  exif.set("ExposureTime", Rational{1, 60});
  image.properties->set("{Exif}", exif);
  image.properties->set("aux", 1);
  image.properties->set("Orientation", 1);
  image.properties->set("ä", 1);
  platform.add(kPath, image);
  EXPECT_THAT(*observeFile(platform.services(), kPath, nullptr, false).metadataKeys,
              ElementsAre("Orientation", "aux", "{Exif}", "ä"));
}

TEST(ObserveFile, TakesANumberForTheOrientationButNotText) {
  FakePlatform platform;
  FakeImage image = photo();
  image.properties->set("Orientation", 8.0);
  platform.add(kPath, image);
  EXPECT_EQ(observeFile(platform.services(), kPath, nullptr, false).orientation, 8);
  image.properties->set("Orientation", "8");
  platform.add(kPath, image);
  EXPECT_EQ(observeFile(platform.services(), kPath, nullptr, false).orientation, std::nullopt);
}

TEST(ObserveFile, SaysSoWhenThereAreNoAuxiliaryImages) {
  FakePlatform platform;
  FakeImage image = photo();
  image.auxiliaryInfo["kCGImageAuxiliaryDataTypeDepth"] = PropertyDictionary{};  // an empty answer is a miss
  platform.add(kPath, image);
  const ImageObservation observation = observeFile(platform.services(), kPath, nullptr, false);
  EXPECT_THAT(*observation.auxiliaryTypes, IsEmpty());
  EXPECT_EQ(observation.auxiliaryObservation, "none_detected_or_api_returned_empty");
}

TEST(ObserveFile, ListsAuxiliaryImagesInAlphabeticalOrder) {
  FakePlatform platform;
  FakeImage image = photo();
  image.auxiliaryInfo["kCGImageAuxiliaryDataTypePortraitEffectsMatte"] = anyEntry();
  image.auxiliaryInfo["kCGImageAuxiliaryDataTypeDepth"] = anyEntry();
  platform.add(kPath, image);
  ImageObservation observation = observeFile(platform.services(), kPath, nullptr, false);
  EXPECT_THAT(*observation.auxiliaryTypes, ElementsAre("depth", "portrait_effects_matte"));
  EXPECT_EQ(observation.auxiliaryObservation, "detected");

  image.auxiliaryInfo["auxiliaryDataHDRGainMap"] = anyEntry();
  image.auxiliaryInfo["auxiliaryDataSemanticSegmentationMatt"] = anyEntry();
  image.auxiliaryInfo["kCGImageAuxiliaryDataTypeDisparity"] = anyEntry();
  platform.add(kPath, image);
  observation = observeFile(platform.services(), kPath, nullptr, false);
  EXPECT_THAT(*observation.auxiliaryTypes, ElementsAre("depth", "disparity", "hdr_gain_map", "portrait_effects_matte",
                                                       "semantic_segmentation_matte"));
}

TEST(ObserveFile, LeavesColorFactsAbsentThatTheImageDoesNotHave) {
  FakePlatform platform;
  FakeImage image = photo();
  image.image->colorSpace = std::nullopt;
  platform.add(kPath, image);
  ImageObservation observation = observeFile(platform.services(), kPath, nullptr, false);
  EXPECT_FALSE(observation.colorSpaceName || observation.iccProfileBytes || observation.iccProfileSHA256);

  image.image->colorSpace = ColorSpace(ColorModel::rgb, std::nullopt, nullptr, false);
  platform.add(kPath, image);
  observation = observeFile(platform.services(), kPath, nullptr, false);
  EXPECT_FALSE(observation.colorSpaceName || observation.iccProfileBytes || observation.iccProfileSHA256);
}

TEST(ObserveFile, CarriesThePathOnlyWhenAskedAndNeverClaimsValidation) {
  FakePlatform platform;
  platform.add(kPath, photo());
  EXPECT_EQ(observeFile(platform.services(), kPath, nullptr, false).path, std::nullopt);
  EXPECT_EQ(observeFile(platform.services(), kPath, nullptr, true).path, kPath);
  EXPECT_EQ(observeFile(platform.services(), kPath, nullptr, true).decodeValidated, std::nullopt);
}

TEST(ObserveOutputFile, CarriesPathAndValidationAndDecodesTwice) {
  FakePlatform platform;
  platform.add(kPath, photo());
  const ImageObservation observation = observeOutputFile(platform.services(), kPath, true);
  EXPECT_EQ(observation.path, kPath);
  EXPECT_EQ(observation.decodeValidated, true);
  EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "decode 0"), 2);
  EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "open /photos/a.heic"), 1);
}

TEST(ObserveOutputFile, ClaimsNoValidationThatWasNotAskedFor) {
  FakePlatform platform;
  platform.add(kPath, photo());
  EXPECT_EQ(observeOutputFile(platform.services(), kPath, false).decodeValidated, std::nullopt);
  EXPECT_EQ(std::count(platform.calls.begin(), platform.calls.end(), "decode 0"), 1);
}

TEST(ObserveOutputFile, FailsForAFileThatIsNoImage) {
  FakePlatform platform;
  try {
    observeOutputFile(platform.services(), kPath, true);
    FAIL() << "nothing was raised";
  } catch (const HelperFailure& failure) {
    EXPECT_EQ(failure.code, "image_source_create_failed");
    EXPECT_EQ(failure.message, "CGImageSourceCreateWithURL failed");
  }
}

}  // namespace
}  // namespace quellor
