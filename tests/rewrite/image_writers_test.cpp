#include "rewrite/image_writers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::FakeImage;
using test_support::FakePlatform;
using test_support::FakeWriting;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kInput = "/in.heic";
constexpr const char* kTemp = "/out/temp";
constexpr double kQuality = 0.25;
constexpr std::string_view kQualityKey = "kCGImageDestinationLossyCompressionQuality";

using Policy = std::optional<MetadataPolicy>;

/// The three writers, with the quality fixed.
struct NamedWriter {
  const char* name;
  std::function<Warnings(const FakePlatform&, const Policy&)> write;
};

const NamedWriter kFromSource = {"rewriteFromSource", [](const FakePlatform& platform, const Policy& policy) {
                                   return rewriteFromSource(platform.images, kInput, kTemp, policy);
                                 }};
const NamedWriter kDecoded = {"rewriteDecodedImage", [](const FakePlatform& platform, const Policy& policy) {
                                return rewriteDecodedImage(platform.images, kInput, kTemp, policy);
                              }};
const NamedWriter kEncode = {"encodeCandidateHEIC", [](const FakePlatform& platform, const Policy& policy) {
                               return encodeCandidateHEIC(platform.images, kInput, kTemp, kQuality, policy);
                             }};
const NamedWriter kAllWriters[] = {kFromSource, kDecoded, kEncode};
const NamedWriter kDecodingWriters[] = {kDecoded, kEncode};

FakeImage photo(int bitsPerComponent = 8) {
  FakeImage image;
  image.image->raster.width = 4;
  image.image->raster.height = 3;
  image.image->raster.bitsPerComponent = bitsPerComponent;
  image.properties->set("Orientation", 6);
  image.properties->set("{GPS}", PropertyDictionary{});
  return image;
}

MetadataPolicy preservingOrientation(bool preserve) {
  MetadataPolicy policy;
  policy.preserveOrientation = preserve;
  return policy;
}

std::string raisedBy(const NamedWriter& writer, const FakePlatform& platform) {
  try {
    writer.write(platform, std::nullopt);
    return "nothing";
  } catch (const HelperFailure& failure) {
    return failure.code + ": " + failure.message;
  }
}

/// What the one destination was given.
const FakeWriting& writingOf(const FakePlatform& platform) {
  EXPECT_EQ(platform.images.writings.size(), 1u);
  return *platform.images.writings.at(0);
}

PropertyDictionary withQuality(PropertyDictionary properties) {
  properties.set(kQualityKey, kQuality);
  return properties;
}

TEST(EveryWriter, RefusesAnInputThatIsNoImageBeforeAnythingIsWritten) {
  for (const NamedWriter& writer : kAllWriters) {
    FakePlatform platform;
    EXPECT_EQ(raisedBy(writer, platform), "image_source_create_failed: CGImageSourceCreateWithURL failed")
        << writer.name;
    EXPECT_THAT(platform.calls, ElementsAre("open /in.heic")) << writer.name;
  }
}

TEST(EveryWriter, RefusesAFileWithoutImagesBeforeAnythingIsWritten) {
  for (const NamedWriter& writer : kAllWriters) {
    FakePlatform platform;
    FakeImage none = photo();
    none.count = 0;
    platform.add(kInput, none);
    EXPECT_EQ(raisedBy(writer, platform), "no_primary_image: image count is zero") << writer.name;
    EXPECT_THAT(platform.calls, ElementsAre("open /in.heic")) << writer.name;
  }
}

TEST(EveryWriter, ReportsADestinationThatCannotBeCreated) {
  for (const NamedWriter& writer : kAllWriters) {
    FakePlatform platform;
    platform.add(kInput, photo());
    platform.images.destinations.cannotBeCreated = true;
    EXPECT_EQ(raisedBy(writer, platform), "destination_create_failed: CGImageDestinationCreateWithURL failed")
        << writer.name;
    EXPECT_THAT(platform.calls, Not(Contains("finalize"))) << writer.name;
  }
}

TEST(EveryWriter, LeavesAPartialFileToItsCaller) {
  for (const NamedWriter& writer : kAllWriters) {
    FakePlatform platform;
    platform.add(kInput, photo());
    platform.images.destinations.finalizeFails = true;
    EXPECT_NE(raisedBy(writer, platform), "nothing") << writer.name;
    EXPECT_TRUE(platform.files.files.contains(kTemp)) << writer.name;
    EXPECT_THAT(platform.calls, Not(Contains(StartsWith("remove")))) << writer.name;
  }
}

TEST(EveryWriter, WritesOneImageWithTheFilteredProperties) {
  for (const NamedWriter& writer : kAllWriters) {
    FakePlatform platform;
    FakeImage three = photo();
    three.count = 3;
    platform.add(kInput, three);
    MetadataPolicy policy;
    policy.removeGPS = true;
    writer.write(platform, policy);
    const FakeWriting& writing = writingOf(platform);
    EXPECT_EQ(writing.path, kTemp);
    ASSERT_TRUE(writing.properties) << writer.name;
    EXPECT_FALSE(writing.properties->contains("{GPS}")) << writer.name;
    EXPECT_TRUE(writing.properties->contains("Orientation")) << writer.name;
  }
}

TEST(RewriteFromSource, CopiesImage0WithoutDecodingIt) {
  FakePlatform platform;
  platform.add(kInput, photo());
  kFromSource.write(platform, std::nullopt);
  EXPECT_THAT(platform.calls,
              ElementsAre("open /in.heic", "create /out/temp", "properties 0", "add image from source", "finalize"));
  EXPECT_EQ(writingOf(platform).indexInSource, 0u);
  EXPECT_EQ(writingOf(platform).properties, photo().properties);
}

TEST(RewriteFromSource, WarnsOfItsTwoLimits) {
  FakePlatform platform;
  platform.add(kInput, photo());
  EXPECT_THAT(kFromSource.write(platform, std::nullopt),
              ElementsAre("bitstream_passthrough_not_guaranteed",
                          "metadata_selective_removal_may_be_limited_on_from_source_path"));
}

TEST(RewriteFromSource, WarnsOfFurtherImagesInBetween) {
  for (const std::size_t count : {2u, 3u, 100u}) {
    FakePlatform platform;
    FakeImage several = photo();
    several.count = count;
    platform.add(kInput, several);
    EXPECT_THAT(kFromSource.write(platform, std::nullopt),
                ElementsAre("bitstream_passthrough_not_guaranteed", "multiple_images_present_only_index_0_copied",
                            "metadata_selective_removal_may_be_limited_on_from_source_path"));
  }
}

TEST(RewriteFromSource, CopiesAnyBitDepth) {
  for (const int bits : {8, 10, 12, 16}) {
    FakePlatform platform;
    platform.add(kInput, photo(bits));
    EXPECT_NO_THROW(kFromSource.write(platform, std::nullopt)) << bits;
  }
}

TEST(RewriteFromSource, PassesNoDictionaryForAnImageWithoutProperties) {
  FakePlatform platform;
  FakeImage plain = photo();
  plain.properties = std::nullopt;
  platform.add(kInput, plain);
  kFromSource.write(platform, std::nullopt);
  EXPECT_FALSE(writingOf(platform).properties);
}

TEST(RewriteFromSource, DoesNotPutAnOrientationBack) {
  FakePlatform platform;
  FakeImage image = photo();
  image.properties->remove("Orientation");
  platform.add(kInput, image);
  kFromSource.write(platform, preservingOrientation(true));
  EXPECT_EQ(writingOf(platform).properties, image.properties);
}

TEST(RewriteFromSource, ReportsAFailedFinaliseAsAFailedAddition) {
  FakePlatform platform;
  platform.add(kInput, photo());
  platform.images.destinations.finalizeFails = true;
  EXPECT_EQ(raisedBy(kFromSource, platform),
            "destination_add_from_source_failed: ImageIO could not add the HEIC source image to the destination.");
}

TEST(DecodingWriter, DecodesOnceBeforeThereIsADestination) {
  for (const NamedWriter& writer : kDecodingWriters) {
    FakePlatform platform;
    platform.add(kInput, photo());
    writer.write(platform, std::nullopt);
    EXPECT_THAT(platform.calls,
                ElementsAre("open /in.heic", "decode 0", "properties 0", "create /out/temp", "add image", "finalize"))
        << writer.name;
    EXPECT_EQ(writingOf(platform).image->width(), 4u);
  }
}

TEST(DecodingWriter, WarnsOnlyOfFurtherImages) {
  for (const NamedWriter& writer : kDecodingWriters) {
    FakePlatform platform;
    platform.add(kInput, photo());
    EXPECT_THAT(writer.write(platform, std::nullopt), IsEmpty()) << writer.name;
    platform.images.images[kInput].count = 3;
    EXPECT_THAT(writer.write(platform, std::nullopt), ElementsAre("multiple_images_present_only_index_0_written"))
        << writer.name;
  }
}

TEST(DecodingWriter, RefusesMoreThan8BitsBeforeThereIsADestination) {
  for (const NamedWriter& writer : kDecodingWriters) {
    for (const int bits : {9, 10, 12, 16}) {
      FakePlatform platform;
      platform.add(kInput, photo(bits));
      EXPECT_EQ(raisedBy(writer, platform),
                "unsupported_bit_depth: bit depth " + std::to_string(bits) + " not supported")
          << writer.name;
      EXPECT_THAT(platform.calls, ElementsAre("open /in.heic", "decode 0")) << writer.name;
    }
  }
}

TEST(DecodingWriter, PassesOnThatImage0DoesNotDecode) {
  for (const NamedWriter& writer : kDecodingWriters) {
    FakePlatform platform;
    FakeImage broken = photo();
    broken.image = std::nullopt;
    platform.add(kInput, broken);
    EXPECT_EQ(raisedBy(writer, platform), "no_primary_image: CGImageSourceCreateImageAtIndex failed at index 0")
        << writer.name;
    EXPECT_THAT(platform.calls, Not(Contains(StartsWith("create")))) << writer.name;
  }
}

TEST(DecodingWriter, ReportsAFailedFinalise) {
  for (const NamedWriter& writer : kDecodingWriters) {
    FakePlatform platform;
    platform.add(kInput, photo());
    platform.images.destinations.finalizeFails = true;
    EXPECT_EQ(raisedBy(writer, platform), "destination_finalize_failed: CGImageDestinationFinalize failed")
        << writer.name;
  }
}

TEST(DecodingWriter, KeepsAnOrientationWhateverThePolicySays) {
  MetadataPolicy withoutGps = preservingOrientation(false);
  withoutGps.removeGPS = true;
  for (const NamedWriter& writer : kDecodingWriters) {
    for (const Policy& policy : {Policy{}, Policy{preservingOrientation(true)}, Policy{withoutGps}}) {
      FakePlatform platform;
      platform.add(kInput, photo());
      writer.write(platform, policy);
      EXPECT_EQ(*writingOf(platform).properties->find("Orientation"), PropertyValue(6)) << writer.name;
    }
  }
}

TEST(DecodingWriter, PassesAnEmptyDictionaryForAnImageWithoutProperties) {
  FakePlatform platform;
  FakeImage plain = photo();
  plain.properties = std::nullopt;
  platform.add(kInput, plain);
  kDecoded.write(platform, std::nullopt);
  EXPECT_EQ(writingOf(platform).properties, PropertyDictionary{});
}

TEST(RewriteDecodedImage, GivesNoQuality) {
  FakePlatform platform;
  platform.add(kInput, photo());
  kDecoded.write(platform, std::nullopt);
  EXPECT_EQ(writingOf(platform).properties, photo().properties);
}

TEST(EncodeCandidateHEIC, GivesTheQualityWithTheProperties) {
  FakePlatform platform;
  platform.add(kInput, photo());
  kEncode.write(platform, std::nullopt);
  EXPECT_EQ(writingOf(platform).properties, withQuality(*photo().properties));
}

TEST(EncodeCandidateHEIC, GivesTheQualityEvenWithoutProperties) {
  FakePlatform platform;
  FakeImage plain = photo();
  plain.properties = std::nullopt;
  platform.add(kInput, plain);
  kEncode.write(platform, std::nullopt);
  EXPECT_EQ(writingOf(platform).properties, withQuality(PropertyDictionary{}));
}

TEST(EncodeCandidateHEIC, PassesTheBoundsOfQualityUnchangedAndOverwritesAnEntryOfThatName) {
  for (const double quality : {0.0, 1.0, -0.0}) {
    FakePlatform platform;
    FakeImage image = photo();
    image.properties->set(kQualityKey, "something else");
    platform.add(kInput, image);
    encodeCandidateHEIC(platform.images, kInput, kTemp, quality, std::nullopt);
    EXPECT_EQ(*writingOf(platform).properties->find(kQualityKey), PropertyValue(quality));
  }
}

/// Has an orientation only when it is asked for the second time, as no real source does: only so does the filtered
/// dictionary lack what the source has.
class ForgetfulSource final : public ImageSource {
 public:
  [[nodiscard]] std::size_t count() const override { return 1; }
  [[nodiscard]] std::optional<PropertyDictionary> propertiesAt(std::size_t) const override {
    PropertyDictionary properties;
    if (asked_++ > 0) properties.set("Orientation", std::uint32_t{6});
    return properties;
  }
  [[nodiscard]] std::optional<Image> imageAt(std::size_t) const override { return Image(Raster{}, std::nullopt); }
  [[nodiscard]] ByteView file() const override { return {}; }
  [[nodiscard]] std::optional<PropertyDictionary> auxiliaryDataInfoAt(std::size_t, std::string_view) const override {
    return std::nullopt;
  }

 private:
  mutable int asked_ = 0;
};

class ForgetfulServices final : public ImageServices {
 public:
  explicit ForgetfulServices(const FakePlatform& platform) : platform_(platform) {}
  [[nodiscard]] std::unique_ptr<ImageSource> openSource(const std::string&) const override {
    return std::make_unique<ForgetfulSource>();
  }
  [[nodiscard]] std::unique_ptr<ImageDestination> createDestination(const std::string& path) const override {
    return platform_.images.createDestination(path);
  }
  [[nodiscard]] std::unique_ptr<BitmapContext> createBitmapContext(std::int64_t, std::int64_t, const ColorSpace&,
                                                                   std::span<std::uint8_t>) const override {
    return nullptr;
  }

 private:
  const FakePlatform& platform_;
};

TEST(DecodingWriter, PutsTheSourcesOrientationBackAsAnIntegerUnlessThePolicyDoesNotMind) {
  for (const Policy& policy : {Policy{}, Policy{MetadataPolicy{}}, Policy{preservingOrientation(true)}}) {
    FakePlatform platform;
    rewriteDecodedImage(ForgetfulServices(platform), kInput, kTemp, policy);
    ASSERT_TRUE(writingOf(platform).properties->contains("Orientation"));
    EXPECT_EQ(*writingOf(platform).properties->find("Orientation"), PropertyValue(std::int64_t{6}));
  }
  FakePlatform platform;
  rewriteDecodedImage(ForgetfulServices(platform), kInput, kTemp, preservingOrientation(false));
  EXPECT_EQ(writingOf(platform).properties, PropertyDictionary{});
}

}  // namespace
}  // namespace quellor
