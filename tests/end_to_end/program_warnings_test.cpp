// The warnings of every operation for files of one image and of several, in their order.

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/gif_fixture.h"
#include "tests/support/heif_photo.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/png_fixture.h"
#include "tests/support/tiff_fixture.h"
#include "tests/support/webp_fixture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::HeifPhoto;
using test_support::WrittenImage;

Bytes gifOf(std::size_t frames) {
  test_support::GifRecipe recipe{2, 2, {255, 0, 0, 0, 0, 255}, {}, {}, false, {}};
  recipe.frames.assign(frames, {0, 0, 2, 2, false, {}, {0, 1, 1, 0}, 2, {}, 10});
  return test_support::gifFile(recipe);
}

Bytes webpOf(std::size_t frames) {
  const Bytes still = test_support::losslessWebp({2, 2, std::vector<int>(16, 255)});
  if (frames == 1) return still;
  std::vector<test_support::WebpChunk> chunks = {test_support::webpHeader(0x02, 2, 2), test_support::webpAnimation()};
  for (std::size_t i = 0; i < frames; ++i) chunks.push_back(test_support::webpFrame(still, 0, 0, 2, 2));
  return test_support::webpFile(chunks);
}

Bytes tiffOf(std::size_t pages) {
  test_support::TiffPicture picture;
  picture.width = picture.height = 2;
  picture.samples = 3;
  picture.photometric = 2;
  picture.values.assign(12, 100);
  return test_support::tiffFile(std::vector(pages, test_support::tiffPage(picture)));
}

struct Case {
  const char* name;
  std::size_t images;
  std::function<Bytes()> file;

  friend void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }
};

const std::vector<Case>& cases() {
  static const std::vector<Case> all = {
      {"png", 1, [] { return test_support::encodePng(test_support::plainPng()); }},
      {"jpeg", 1, [] { return test_support::encodeJpeg({}); }},
      {"gif", 1, [] { return gifOf(1); }},
      {"gif of three frames", 3, [] { return gifOf(3); }},
      {"webp", 1, [] { return webpOf(1); }},
      {"webp of two frames", 2, [] { return webpOf(2); }},
      {"tiff", 1, [] { return tiffOf(1); }},
      {"tiff of four pages", 4, [] { return tiffOf(4); }},
      {"heif", 1, [] { return HeifPhoto().build(); }},
      {"heif of two pictures", 2, [] { return HeifPhoto().withFurtherPicture().build(); }},
      // What belongs to a picture or cannot be looked at is no further one.
      {"heif with a thumbnail", 1, [] { return HeifPhoto().withThumbnail().build(); }},
      {"heif with a hidden picture", 1, [] { return HeifPhoto().withHiddenPicture().build(); }},
      {"heif with an auxiliary image", 1,
       [] { return HeifPhoto().withAuxiliary("urn:mpeg:hevc:2015:auxid:2").build(); }}};
  return all;
}

class Warnings : public ::testing::TestWithParam<Case> {};

TEST_P(Warnings, AreThoseOfTheOperationAndOfTheNumberOfImages) {
  const bool several = GetParam().images > 1;
  const json written = several ? json{"multiple_images_present_only_index_0_written"} : json::array();
  json copied = {"bitstream_passthrough_not_guaranteed"};
  if (several) copied.push_back("multiple_images_present_only_index_0_copied");
  copied.push_back("metadata_selective_removal_may_be_limited_on_from_source_path");
  const std::pair<const char*, json> operations[] = {
      {test_support::kEncodeCandidate, written},
      {test_support::kRewriteFromSource, copied},
      {test_support::kRewriteDecoded, written},
      {test_support::kExport, json{"storage_pixel_no_orientation_transform"}}};
  const Bytes input = GetParam().file();
  for (const auto& [operation, warnings] : operations) {
    SCOPED_TRACE(operation);
    const WrittenImage image(operation, input, 0.5);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["warnings"], warnings);
    EXPECT_EQ(image.answer()["input"]["imageCount"], GetParam().images);
    if (operation != test_support::kExport) {
      EXPECT_EQ(image.answer()["output"]["imageCount"], 1);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, Warnings, ::testing::ValuesIn(cases()),
                         [](const auto& tested) { return test_support::testName(tested.param.name); });

TEST(WarningsOfInspecting, AreNotEvenAnEmptyList) {
  for (const Case& each : cases()) {
    const test_support::TemporaryDirectory folder;
    const Bytes file = each.file();
    const auto input = folder.write("in", {reinterpret_cast<const char*>(file.data()), file.size()});
    const json answer = test_support::ask(test_support::inspectRequest(input));
    EXPECT_EQ(answer.value("success", false), true) << each.name;
    EXPECT_FALSE(answer.contains("warnings")) << each.name;
  }
}

}  // namespace
}  // namespace quellor
