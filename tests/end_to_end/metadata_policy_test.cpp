// Every metadata policy on one photo: three flags say what is removed, the other three change nothing that is written.

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/heif_photo.h"
#include "tests/support/jpeg_segments.h"
#include "tests/support/metadata_judge.h"
#include "tests/support/photo_metadata.h"
#include "tests/support/png_fixture.h"
#include "tests/support/webp_fixture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::HeifPhoto;
using test_support::kEncodeCandidate;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::Tags;
using test_support::WrittenImage;

constexpr std::array kRemovingFlags = {"removeGPS", "removeXMP", "removeMakerMetadata"};
constexpr std::array kOtherFlags = {"preserveColorProfile", "preserveOrientation", "dropAuxiliaryImages"};
constexpr std::size_t kGps = 1, kXmp = 2, kMaker = 4;  // bits of a set of removing flags

/// The policy of two sets of flags. What is not set is absent in one half of the policies and false in the other.
json policyOf(std::size_t removing, std::size_t others) {
  json policy = json::object();
  for (std::size_t i = 0; i < 3; ++i) {
    const bool sayFalse = (removing + others + i) % 2 == 0;
    if ((removing >> i & 1) != 0 || sayFalse) policy[kRemovingFlags[i]] = (removing >> i & 1) != 0;
    if ((others >> i & 1) != 0 || sayFalse) policy[kOtherFlags[i]] = (others >> i & 1) != 0;
  }
  return policy;
}

/// The tags of metadata that the judge finds in a file, by group and name.
std::vector<std::string> metadataTagsIn(const Tags& tags) {
  std::vector<std::string> names;
  for (const auto& [key, value] : tags) {
    const std::string group = test_support::groupOf(key);
    const bool ofTheForm = group == "QuickTime" || group == "Meta" || group == "JFIF" || group.starts_with("ICC");
    if (!ofTheForm) names.push_back(key);
  }
  return names;
}

/// What is to be found in a file after a set of removals: what the photo has, by the flag that removes it.
std::vector<std::string> expectedTags(std::size_t removing) {
  const struct {
    std::size_t removedBy;
    const char* tag;
  } all[] = {{0, "ExifIFD:ExposureTime"},
             {0, "ExifIFD:ISO"},
             {0, "ExifIFD:LensModel"},
             {kGps, "GPS:GPSLatitude"},
             {kGps, "GPS:GPSLatitudeRef"},
             {kGps, "GPS:GPSLongitude"},
             {kGps, "GPS:GPSLongitudeRef"},
             {kGps, "GPS:GPSVersionID"},
             {kMaker, "Apple:MakerNoteVersion"},
             {kMaker, "IFD0:Make"},
             {kMaker, "IFD0:Model"},
             {0, "IFD0:Orientation"},
             {0, "IFD0:ResolutionUnit"},
             {0, "IFD0:Software"},
             {0, "IFD0:XResolution"},
             {0, "IFD0:YResolution"},
             {kXmp | kGps, "XMP-exif:GPSLatitude"},
             {kXmp | kGps, "XMP-exif:GPSLongitude"},
             {kXmp, "XMP-photoshop:Headline"},
             {kXmp | kMaker, "XMP-tiff:Make"},
             {kXmp | kMaker, "XMP-tiff:Model"}};
  std::vector<std::string> tags;
  for (const auto& each : all)
    if ((each.removedBy & removing) == 0) tags.emplace_back(each.tag);
  return tags;
}

std::vector<std::string> expectedRemovedItems(std::size_t removing, const std::string& ofTheFormat) {
  std::vector<std::string> items;
  if (!ofTheFormat.empty()) items.push_back(ofTheFormat);
  if ((removing & kGps) != 0) items.emplace_back("{GPS}");
  if ((removing & kMaker) != 0) items.emplace_back("{MakerApple}");
  if ((removing & kXmp) != 0) items.emplace_back("{XMP}");
  std::sort(items.begin(), items.end());
  return items;
}

Bytes heicPhoto() {
  return HeifPhoto().withExif(test_support::photoExif(6)).withPacket(test_support::kPhotoPacket).build();
}

Bytes jpegPhoto() {
  test_support::JpegSpec spec;
  spec.segments = {test_support::exifSegment(test_support::photoExif(6)),
                   test_support::packetSegment(test_support::kPhotoPacket)};
  return test_support::encodeJpeg(spec);
}

Bytes pngPhoto() {
  test_support::PngSpec spec = test_support::plainPng();
  spec.texts = {{test_support::PngText::Kind::utf8, "XML:com.adobe.xmp", std::string(test_support::kPhotoPacket)}};
  spec.chunksBeforeData = {{"eXIf", test_support::photoExif(6)}};
  return test_support::encodePng(spec);
}

Bytes webpPhoto() {
  const Bytes still = test_support::losslessWebp({2, 2, std::vector<int>(16, 255)});
  return test_support::webpFile({test_support::webpHeader(0x0C, 2, 2),
                                 test_support::webpChunks(still).front(),
                                 {"EXIF", test_support::photoExif(6)},
                                 {"XMP ", test_support::bytesOf(test_support::kPhotoPacket)}});
}

struct Writing {
  const char* name;
  const char* operation;
  Bytes (*photo)();
  const char* itemOfTheFormat = "";  // that is always removed
  int orientation = 6;
  std::vector<std::size_t> others = {0, 7};  // sets of the flags that do not count

  friend void PrintTo(const Writing& writing, std::ostream* out) { *out << writing.name; }
};

const std::vector<std::size_t> kEverySet = {0, 1, 2, 3, 4, 5, 6, 7};

class EveryPolicy : public ::testing::TestWithParam<Writing> {
 protected:
  void SetUp() override {
    if (!test_support::requireJudge(test_support::kMetadataJudge)) return;
  }

  /// The file that a policy gives, which must be the same whatever the flags are that do not count.
  void expectWritten(std::size_t removing, std::size_t others) {
    const json policy = policyOf(removing, others);
    SCOPED_TRACE(policy);
    const WrittenImage image(GetParam().operation, photo_, 0.5, policy);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["removedItems"], json(expectedRemovedItems(removing, GetParam().itemOfTheFormat)));
    EXPECT_EQ(image.answer()["output"]["orientation"], GetParam().orientation);
    const auto kept = outputs_.path() / (std::to_string(removing) + ".heic");
    if (!std::filesystem::exists(kept)) {
      std::filesystem::copy_file(image.path(), kept);
    } else {
      EXPECT_TRUE(test_support::contentsOf(image.path()) == test_support::contentsOf(kept)) << "another file";
    }
  }

  Bytes photo_ = GetParam().photo();
  test_support::TemporaryDirectory outputs_;
};

TEST_P(EveryPolicy, RemovesWhatItsRemovingFlagsSayAndNothingElse) {
  for (std::size_t removing = 0; removing < 8; ++removing)
    for (const std::size_t others : GetParam().others) expectWritten(removing, others);

  auto judged = test_support::judgedFiles(outputs_.path());
  ASSERT_EQ(judged.size(), 8U);
  for (std::size_t removing = 0; removing < 8; ++removing) {
    const Tags& tags = judged[std::to_string(removing) + ".heic"];
    EXPECT_THAT(metadataTagsIn(tags), ::testing::UnorderedElementsAreArray(expectedTags(removing))) << removing;
    for (const auto& [key, value] : tags) {
      const auto original = judged["0.heic"].find(key);
      const bool isMetadata = !metadataTagsIn({{key, value}}).empty();
      if (!isMetadata || original == judged["0.heic"].end()) continue;
      EXPECT_EQ(value, original->second) << key;
    }
    const std::string file = test_support::contentsOf(outputs_.path() / (std::to_string(removing) + ".heic"));
    if ((removing & kMaker) != 0) {
      for (const char* gone : {"Maker Inc", "Model One", "Apple iOS"}) EXPECT_EQ(file.find(gone), std::string::npos);
    }
    if ((removing & kGps) != 0) {
      for (const char* gone : {"47,22", "8,32", "GPSL"}) EXPECT_EQ(file.find(gone), std::string::npos) << gone;
    }
    if ((removing & kXmp) != 0) {
      EXPECT_EQ(file.find("xmpmeta"), std::string::npos);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(On, EveryPolicy,
                         // In a MIAF file without irot, the orientation of Exif is history.
                         ::testing::Values(Writing{"ACopiedPhoto", kRewriteFromSource, heicPhoto, "", 1, kEverySet},
                                           Writing{"ACandidate", kEncodeCandidate, heicPhoto, "", 1, kEverySet},
                                           Writing{"ADecodedPhoto", kRewriteDecoded, heicPhoto, "", 1},
                                           Writing{"AJpegPhoto", kRewriteFromSource, jpegPhoto, "{JFIF}"},
                                           Writing{"APngPhoto", kRewriteDecoded, pngPhoto, "{PNG}"},
                                           Writing{"AWebpPhoto", kEncodeCandidate, webpPhoto}),
                         [](const auto& tested) { return std::string(tested.param.name); });

/// A photo that has all that the flags speak of: a profile, an orientation, depth.
Bytes turnedPhotoWithDepth() {
  return HeifPhoto()
      .with(test_support::irot(3))
      .withExif(test_support::photoExif(6))
      .withAuxiliary("urn:mpeg:hevc:2015:auxid:2")
      .build();
}

/// A photo whose metadata hold nothing that a policy speaks of but a packet.
Bytes photoWithoutSecrets() {
  test_support::TiffStructure exif(true);
  exif.directory({test_support::TiffStructure::textEntry(305, "Camera 1.0")});
  return HeifPhoto()
      .withExif(exif.bytes())
      .withPacket(
          "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
          "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description rdf:about='' "
          "xmlns:photoshop='http://ns.adobe.com/photoshop/1.0/' photoshop:Headline='A meadow'/></rdf:RDF>"
          "</x:xmpmeta>")
      .build();
}

TEST(RemovingFlags, ChangeNothingOfAPhotoThatHasNoneOfIt) {
  const Bytes photo = photoWithoutSecrets();
  const WrittenImage plain(kRewriteFromSource, photo);
  ASSERT_TRUE(plain.written()) << plain.answer();
  for (const json& policy : {json{{"removeGPS", true}}, json{{"removeMakerMetadata", true}},
                             json{{"removeGPS", true}, {"removeMakerMetadata", true}}}) {
    const WrittenImage image(kRewriteFromSource, photo, 1, policy);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["removedItems"], json::array()) << policy;
    EXPECT_TRUE(image.bytes() == plain.bytes()) << policy;
  }
}

// Some writers put the note into the first directory, which no reader of Exif looks for.
TEST(RemovingMakerMetadata, TakesANoteInTheWrongDirectoryWithIt) {
  using Structure = test_support::TiffStructure;
  const auto software = Structure::textEntry(305, "Camera 1.0");
  const auto note = Structure::undefinedEntry(37500, test_support::bytesOf("a note of secrets"));
  for (const auto& entries :
       {std::vector{Structure::textEntry(271, "Maker Inc"), software, note}, std::vector{software, note}}) {
    Structure exif(true);
    exif.directory(entries);
    const Bytes photo = HeifPhoto().withExif(exif.bytes()).build();
    const WrittenImage whole(kRewriteFromSource, photo);
    const WrittenImage image(kRewriteFromSource, photo, 1, {{"removeMakerMetadata", true}});
    ASSERT_TRUE(whole.written() && image.written()) << image.answer();
    EXPECT_NE(test_support::contentsOf(whole.path()).find("a note of secrets"), std::string::npos);
    const std::string file = test_support::contentsOf(image.path());
    EXPECT_NE(file.find("Camera 1.0"), std::string::npos);
    for (const char* gone : {"a note of secrets", "Maker Inc"}) EXPECT_EQ(file.find(gone), std::string::npos) << gone;
  }
}

class FlagWithoutEffect : public ::testing::TestWithParam<const char*> {};

TEST_P(FlagWithoutEffect, ChangesNothingThatIsWritten) {
  const Bytes photo = turnedPhotoWithDepth();
  const WrittenImage plain(GetParam(), photo, 0.5);
  ASSERT_TRUE(plain.written()) << plain.answer();
  EXPECT_EQ(plain.answer()["output"]["orientation"], 6);
  EXPECT_EQ(plain.answer()["output"]["colorSpaceName"], "kCGColorSpaceDisplayP3");
  EXPECT_EQ(plain.answer()["input"]["iccProfileSHA256"], plain.answer()["output"]["iccProfileSHA256"]);
  EXPECT_EQ(plain.answer()["removedItems"], json{"auxiliary:depth"});
  std::vector<json> policies = {json::object()};
  for (const char* flag : kOtherFlags)
    for (const bool value : {true, false}) policies.push_back({{flag, value}});
  for (const bool value : {true, false}) {
    policies.push_back({{kOtherFlags[0], value}, {kOtherFlags[1], value}, {kOtherFlags[2], value}});
  }
  for (const json& policy : policies) {
    const WrittenImage image(GetParam(), photo, 0.5, policy);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_TRUE(image.bytes() == plain.bytes()) << policy;
    for (const char* key : {"input", "warnings", "removedItems"}) {
      EXPECT_EQ(image.answer()[key], plain.answer()[key]) << policy;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, FlagWithoutEffect,
                         ::testing::Values(kEncodeCandidate, kRewriteFromSource, kRewriteDecoded),
                         [](const auto& tested) { return test_support::testName(tested.param); });

}  // namespace
}  // namespace quellor
