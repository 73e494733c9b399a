#include "observe/image_access.h"

#include <string>

#include <gtest/gtest.h>

#include "protocol/failure.h"
#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::Calls;
using test_support::FakeImage;
using test_support::FakeImageSource;

std::optional<PropertyDictionary> with(PropertyValue orientation) {
  PropertyDictionary properties;
  properties.set(orientationKey, std::move(orientation));
  return properties;
}

TEST(OrientationFromProperties, TakesIntegersUnsignedIntegersAndNumbers) {
  EXPECT_EQ(orientationFromProperties(with(std::int64_t{6})), 6);
  EXPECT_EQ(orientationFromProperties(with(std::uint32_t{4294967295u})), 4294967295);
  EXPECT_EQ(orientationFromProperties(with(3.9)), 3);
}

TEST(OrientationFromProperties, IsAbsentForValuesOfOtherKinds) {
  for (const PropertyValue& value :
       {PropertyValue("6"), PropertyValue(true), PropertyValue(Rational{6, 1}), PropertyValue(PropertyList{6}),
        PropertyValue(PropertyDictionary{}), PropertyValue(Bytes{6}), PropertyValue(1e300)}) {
    EXPECT_EQ(orientationFromProperties(with(value)), std::nullopt);
  }
}

TEST(OrientationFromProperties, SubstitutesNothingForAMissingOne) {
  EXPECT_EQ(orientationFromProperties(std::nullopt), std::nullopt);
  EXPECT_EQ(orientationFromProperties(PropertyDictionary{}), std::nullopt);
}

TEST(OrientationFromProperties, LooksAtTheTopLevelOnly) {
  PropertyDictionary tiff;
  tiff.set("Orientation", 6);
  PropertyDictionary properties;
  properties.set(tiffKey, tiff);
  EXPECT_EQ(orientationFromProperties(properties), std::nullopt);
}

TEST(IccInfo, HasBothFactsOrNeither) {
  const ColorSpace without(ColorModel::rgb, "PQ", nullptr, false);
  EXPECT_FALSE(iccInfo(without).bytes);
  EXPECT_FALSE(iccInfo(without).sha256);
  EXPECT_FALSE(iccInfo(std::nullopt).bytes);
  EXPECT_FALSE(iccInfo(std::nullopt).sha256);

  const ColorSpace with(ColorModel::rgb, std::nullopt, std::make_shared<const Bytes>(Bytes{'a', 'b', 'c'}), true);
  EXPECT_EQ(iccInfo(with).bytes, 3);
  EXPECT_EQ(iccInfo(with).sha256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

// The examples of FIPS 180-4 and of its validation suite.
TEST(SHA256Hex, Is64LowercaseHexadecimalDigits) {
  EXPECT_EQ(SHA256Hex({}), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  const std::string text = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
  const Bytes bytes(text.begin(), text.end());
  EXPECT_EQ(SHA256Hex(bytes), "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
}

TEST(CreatePrimaryCGImage, NamesTheIndexThatCannotBeDecoded) {
  Calls calls;
  FakeImage broken;
  broken.image = std::nullopt;
  const FakeImageSource source(broken, calls);
  for (const std::size_t index : {std::size_t{0}, std::size_t{12}}) {
    try {
      createPrimaryCGImage(source, index);
      FAIL() << "nothing was raised";
    } catch (const HelperFailure& failure) {
      EXPECT_EQ(failure.code, "no_primary_image");
      EXPECT_EQ(failure.message, "CGImageSourceCreateImageAtIndex failed at index " + std::to_string(index));
    }
  }
}

TEST(AuxiliaryTypeKeys, KeepTheirOrderAndSpelling) {
  const struct {
    const char* label;
    const char* type;
  } expected[] = {{"depth", "kCGImageAuxiliaryDataTypeDepth"},
                  {"disparity", "kCGImageAuxiliaryDataTypeDisparity"},
                  {"portrait_effects_matte", "kCGImageAuxiliaryDataTypePortraitEffectsMatte"},
                  {"semantic_segmentation_matte", "auxiliaryDataSemanticSegmentationMatt"},
                  {"hdr_gain_map", "auxiliaryDataHDRGainMap"}};
  ASSERT_EQ(auxiliaryTypeKeys.size(), std::size(expected));
  for (std::size_t i = 0; i < auxiliaryTypeKeys.size(); ++i) {
    EXPECT_EQ(auxiliaryTypeKeys[i].label, expected[i].label);
    EXPECT_EQ(auxiliaryTypeKeys[i].type, expected[i].type);
  }
}

}  // namespace
}  // namespace quellor
