// What the answer to a write lists as removed: every kind of item, and their order.

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/gif_fixture.h"
#include "tests/support/heif_photo.h"
#include "tests/support/jpeg_segments.h"
#include "tests/support/photo_metadata.h"
#include "tests/support/png_fixture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::HeifPhoto;
using test_support::kPhotoPacket;
using test_support::photoExif;
using test_support::photoIptc;
using test_support::WrittenImage;

constexpr const char* kDepth = "urn:mpeg:hevc:2015:auxid:2";
constexpr const char* kMatte = "urn:com:apple:photo:2018:aux:portraiteffectsmatte";
constexpr const char* kSkin = "urn:com:apple:photo:2019:aux:semanticskinmatte";
constexpr const char* kGainMap = "urn:com:apple:photo:2020:aux:hdrgainmap";
constexpr const char* kDisparityPacket =
    "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
    "<rdf:Description rdf:about='' xmlns:apdi='http://ns.apple.com/pixeldatainfo/1.0/' "
    "apdi:AuxiliaryImageType='disparity'/></rdf:RDF></x:xmpmeta>";

const json kRemoveAll = {{"removeGPS", true}, {"removeXMP", true}, {"removeMakerMetadata", true}};

Bytes jpegWith(std::vector<test_support::JpegSpec::Segment> segments, int densityUnit = 0) {
  test_support::JpegSpec spec;
  spec.densityUnit = densityUnit;
  spec.xDensity = spec.yDensity = 300;
  spec.segments = std::move(segments);
  return test_support::encodeJpeg(spec);
}

Bytes gif() {
  test_support::GifRecipe recipe{2, 2, {255, 0, 0, 0, 0, 255}, {}, std::string(kPhotoPacket), false, {}};
  recipe.frames.push_back({0, 0, 2, 2, false, {}, {0, 1, 1, 0}, 2, {}, {}});
  return test_support::gifFile(recipe);
}

Bytes pngWithResolution() {
  test_support::PngSpec spec = test_support::plainPng();
  spec.pixelsPerMetre = {{2835, 2835}};
  return test_support::encodePng(spec);
}

/// Everything that a file can have and an output cannot or need not.
HeifPhoto crowded() {
  return HeifPhoto()
      .withExif(photoExif(1))
      .withPacket(kPhotoPacket)
      .withIptc(photoIptc())
      .withAuxiliary(kSkin)
      .withAuxiliary(kMatte)
      .withAuxiliary(kGainMap)
      .withAuxiliary(kDepth, kDisparityPacket)
      .withAuxiliary(kDepth)
      .withFurtherPicture();
}

struct Case {
  const char* name;
  std::function<Bytes()> file;
  json policy;
  std::vector<std::string> removed;

  friend void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }
};

const std::vector<Case>& cases() {
  static const std::vector<Case> all = {
      {"nothing", [] { return HeifPhoto().withExif(photoExif()).withPacket(kPhotoPacket).build(); }, nullptr, {}},
      {"JFIF", [] { return jpegWith({}); }, nullptr, {"{JFIF}"}},
      {"JFIF with a resolution", [] { return jpegWith({}, 1); }, nullptr, {"DPIHeight", "DPIWidth", "{JFIF}"}},
      {"PNG", [] { return test_support::encodePng(test_support::plainPng()); }, nullptr, {"{PNG}"}},
      {"PNG with a resolution", pngWithResolution, nullptr, {"DPIHeight", "DPIWidth", "{PNG}"}},
      {"GIF", gif, nullptr, {"{GIF}"}},
      {"GIF with its packet", gif, kRemoveAll, {"{GIF}", "{GPS}", "{TIFF}", "{XMP}"}},
      {"IPTC", [] { return HeifPhoto().withIptc(photoIptc()).build(); }, nullptr, {"{IPTC}"}},
      {"IPTC of JPEG",
       [] { return jpegWith({test_support::iptcSegment(photoIptc())}); },
       nullptr,
       {"{IPTC}", "{JFIF}"}},
      {"a further picture", [] { return HeifPhoto().withFurtherPicture().build(); }, nullptr, {"PrimaryImage"}},
      {"depth", [] { return HeifPhoto().withAuxiliary(kDepth).build(); }, nullptr, {"auxiliary:depth"}},
      {"disparity",
       [] { return HeifPhoto().withAuxiliary(kDepth, kDisparityPacket).build(); },
       nullptr,
       {"auxiliary:disparity"}},
      {"gain map", [] { return HeifPhoto().withAuxiliary(kGainMap).build(); }, nullptr, {"auxiliary:hdr_gain_map"}},
      {"matte",
       [] { return HeifPhoto().withAuxiliary(kMatte).build(); },
       nullptr,
       {"auxiliary:portrait_effects_matte"}},
      {"semantic matte",
       [] { return HeifPhoto().withAuxiliary(kSkin).build(); },
       nullptr,
       {"auxiliary:semantic_segmentation_matte"}},
      {"two of a kind",
       [] { return HeifPhoto().withAuxiliary(kSkin).withAuxiliary(kSkin).build(); },
       nullptr,
       {"auxiliary:semantic_segmentation_matte"}},
      {"position", [] { return HeifPhoto().withExif(photoExif()).build(); }, {{"removeGPS", true}}, {"{GPS}"}},
      {"packet",
       [] { return HeifPhoto().withExif(photoExif()).withPacket(kPhotoPacket).build(); },
       {{"removeXMP", true}},
       {"{XMP}"}},
      // Make and model are gone, too, but a dictionary that has other entries is still there.
      {"maker note",
       [] { return HeifPhoto().withExif(photoExif()).build(); },
       {{"removeMakerMetadata", true}},
       {"{MakerApple}"}},
      {"flags that are false",
       [] { return HeifPhoto().withExif(photoExif()).withPacket(kPhotoPacket).build(); },
       {{"removeGPS", false}, {"removeXMP", false}, {"removeMakerMetadata", false}},
       {}},
      {"all of a JPEG file",
       [] {
         return jpegWith({test_support::exifSegment(photoExif()), test_support::packetSegment(kPhotoPacket),
                          test_support::iptcSegment(photoIptc())});
       },
       kRemoveAll,
       {"{GPS}", "{IPTC}", "{JFIF}", "{MakerApple}", "{XMP}"}},
      {"all of a HEIF file",
       [] { return crowded().build(); },
       kRemoveAll,
       {"PrimaryImage", "auxiliary:depth", "auxiliary:disparity", "auxiliary:hdr_gain_map",
        "auxiliary:portrait_effects_matte", "auxiliary:semantic_segmentation_matte", "{GPS}", "{IPTC}", "{MakerApple}",
        "{XMP}"}}};
  return all;
}

class RemovedItems : public ::testing::TestWithParam<Case> {};

TEST_P(RemovedItems, AreListedInTheOrderOfTheirCodePoints) {
  const Bytes input = GetParam().file();
  for (const char* operation :
       {test_support::kEncodeCandidate, test_support::kRewriteFromSource, test_support::kRewriteDecoded}) {
    SCOPED_TRACE(operation);
    const WrittenImage image(operation, input, 0.5, GetParam().policy);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["removedItems"], json(GetParam().removed));
    // The list compares the answer's own observations; those must be true of the file.
    const json seen = test_support::ask(test_support::inspectRequest(image.path()));
    EXPECT_EQ(image.answer()["output"]["metadataKeys"], seen["input"]["metadataKeys"]);
    EXPECT_EQ(seen["input"]["auxiliaryTypes"], json::array());
  }
}

INSTANTIATE_TEST_SUITE_P(Of, RemovedItems, ::testing::ValuesIn(cases()),
                         [](const auto& tested) { return test_support::testName(tested.param.name); });

TEST(RemovedItemsOfTheOtherOperations, AreNotEvenAnEmptyList) {
  const Bytes input = crowded().build();
  const test_support::StoredPixels exported = test_support::exportPixelsOf(input);
  EXPECT_TRUE(exported.written()) << exported.answer;
  EXPECT_FALSE(exported.answer.contains("removedItems"));
}

TEST(AuxiliaryImages, AreReportedOnceAKindInAscendingOrder) {
  const test_support::TemporaryDirectory folder;
  const Bytes file = crowded().build();
  const auto input = folder.write("in", {reinterpret_cast<const char*>(file.data()), file.size()});
  const json seen = test_support::ask(test_support::inspectRequest(input))["input"];
  EXPECT_EQ(seen["auxiliaryObservation"], "detected");
  EXPECT_EQ(seen["auxiliaryTypes"],
            json({"depth", "disparity", "hdr_gain_map", "portrait_effects_matte", "semantic_segmentation_matte"}));
}

}  // namespace
}  // namespace quellor
