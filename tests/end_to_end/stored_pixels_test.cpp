// Compares the exported pixels of every HEIF sample with those of an independent decoder: the library's own decoders
// give the samples as coded, and the rules of H.273 in double precision the colours. Run with --gtest_output=xml: the
// properties of each test are a table of the differences.

#include "tests/support/stored_pixels.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/heif_judge.h"
#include "tests/support/pixel_differences.h"
#include "tests/support/reference_drawing.h"

namespace quellor {
namespace {

using test_support::Color;
using test_support::CorpusRow;
using test_support::Differences;
using test_support::HeifJudge;
using test_support::StoredPixels;

/// Where the stored image stands in the coded one.
struct Place {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
};

/// The clean apertures of primary images: heif-info shows them ("crop").
const std::map<std::string, Place> kCrops = {{"conformance/C013.heic", {490, 210}},
                                             {"conformance/MIAF007.heic", {320, 180}},
                                             {"special/other_RGB_8_chroma444.heif", {0, 0}},
                                             {"special/truncated_truncated.heic", {0, 0}},
                                             // As tests/samples was told to make them.
                                             {"made/cropped-even-420.heic", {16, 8}},
                                             {"made/cropped-odd-place-420.heic", {15, 9}},
                                             {"made/cropped-odd-size-420.heic", {16, 8}},
                                             {"made/cropped-odd-all-422.heic", {31, 7}},
                                             {"made/cropped-odd-all-444.heic", {33, 21}},
                                             {"made/cropped-last-row-420.heic", {0, 0}},
                                             {"made/cropped-turned-mirrored.heic", {21, 13}},
                                             {"made/library-odd-size-422.heic", {0, 0}}};

/// Made from a JPEG file, so that the library makes colour differences of its own of it; stored_pixels_formats_test.cpp
/// compares it with that file.
bool isJpegCoded(const std::string& file) {
  return file == "fuzz/jpeg32.heif" || file.find("/jpeg-item-") != std::string::npos;
}

/// Images that are made of others in a way that the library takes otherwise; stored_pixels_derived_test.cpp compares
/// them with the rules for what they are made of.
bool isDerivedOtherwise(const std::string& file) {
  return file == "conformance/C039.heic" || file.starts_with("made/overlay-");
}

/// The sequence parameter sets of this one have chroma_sample_loc_type 1; those of all others have none.
const std::string kSitedAmid = "photos/phone-small.heic";

std::string formOf(const Raster& raster) {
  std::string form = raster.model == SampleModel::rgb ? "RGB" : "YCbCr";
  if (raster.model == SampleModel::ycbcr) {
    const bool halfWidth = raster.components[1].width < raster.width;
    const bool halfHeight = raster.components[1].height < raster.height;
    form += halfHeight ? " 4:2:0" : halfWidth ? " 4:2:2" : " 4:4:4";
    form += " matrix " + std::to_string(raster.coding.matrixCoefficients);
    form += raster.coding.fullRange ? " full" : " limited";
  }
  return form + " " + std::to_string(raster.bitsPerComponent) + " bits" + (raster.alpha ? " alpha" : "");
}

std::optional<Raster> judged(const std::string& file) {
  auto raster = HeifJudge(test_support::sampleFile(file).string()).coded();
  if (raster && file == kSitedAmid) raster->chromaSiting = ChromaSiting::centre;
  return raster;
}

/// Of a crop without its outermost samples, to which colour differences belong that lie beyond its edge.
Differences differencesOf(const StoredPixels& stored, const Raster& reference, Place place, std::uint32_t border) {
  Differences differences;
  const ByteView pixels = stored.pixels();
  for (std::uint32_t y = border; y < stored.height() - border; ++y) {
    for (std::uint32_t x = border; x < stored.width() - border; ++x) {
      const Color expected = test_support::referenceColor(reference, place.left + x, place.top + y);
      const std::size_t at = (std::size_t{y} * stored.width() + x) * 4;
      for (std::size_t i = 0; i < 3; ++i) differences.add(pixels[at + i], expected[i] * 255);
    }
  }
  return differences;
}

std::string nameOf(const testing::TestParamInfo<CorpusRow>& info) { return test_support::testName(info.param.file); }

std::vector<CorpusRow> decodableRows() {
  std::vector<CorpusRow> rows;
  for (const CorpusRow& row : test_support::readCorpusTable()) {
    if (row.allows("ok") && row.isHeif()) rows.push_back(row);
  }
  return rows;
}

class StoredPixelsOfHeif : public testing::TestWithParam<CorpusRow> {};

TEST_P(StoredPixelsOfHeif, AreThoseOfTheRulesForTheLibrarysSamples) {
  const std::string& file = GetParam().file;
  const StoredPixels stored = test_support::exportPixels(test_support::sampleFile(file));
  if (!GetParam().canBeDrawn()) return test_support::expectFailure(stored.answer, "internal_error", "rgba_draw_failed");
  if (!stored.written() && GetParam().outcomes.size() > 1) GTEST_SKIP() << "need not decode: " << stored.answer;
  ASSERT_TRUE(stored.written()) << stored.answer;
  if (isDerivedOtherwise(file) || isJpegCoded(file)) return;
  const auto reference = judged(file);
  ASSERT_TRUE(reference);
  const auto crop = kCrops.find(file);
  const bool cropped = crop != kCrops.end();
  if (!cropped) {
    ASSERT_EQ(stored.width(), reference->width);
    ASSERT_EQ(stored.height(), reference->height);
  }
  const Differences differences = differencesOf(stored, *reference, cropped ? crop->second : Place(), cropped ? 1 : 0);
  differences.record(formOf(*reference));
  EXPECT_LE(differences.largest(), 1.0);
}

INSTANTIATE_TEST_SUITE_P(Samples, StoredPixelsOfHeif, testing::ValuesIn(decodableRows()), nameOf);

}  // namespace
}  // namespace quellor
