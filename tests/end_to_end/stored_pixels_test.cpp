// Compares the exported pixels of every sample file with an independent decoder's. HEIF: the library's own decoders
// give the samples as coded, and the rules of H.273 in double precision the colours. Others: ImageMagick. Run with
// --gtest_output=xml: the properties of each test are a table of the differences.

#include "tests/support/stored_pixels.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/heif_judge.h"
#include "tests/support/process.h"
#include "tests/support/reference_drawing.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::Color;
using test_support::CorpusRow;
using test_support::HeifJudge;
using test_support::StoredPixels;

/// How far two pictures are apart, in steps of 8 bits.
class Differences {
 public:
  void add(std::uint8_t sample, double expected) {
    const double difference = std::abs(sample - expected);
    largest_ = std::max(largest_, difference);
    sum_ += difference;
    ++count_;
  }

  [[nodiscard]] double largest() const { return largest_; }

  void record(const std::string& form) const {
    const double mean = count_ == 0 ? 0 : sum_ / static_cast<double>(count_);
    testing::Test::RecordProperty("form", form);
    testing::Test::RecordProperty("largest", std::to_string(largest_));
    testing::Test::RecordProperty("mean", std::to_string(mean));
    std::printf("%-32s largest %.3f mean %.4f\n", form.c_str(), largest_, mean);
  }

 private:
  double largest_ = 0;
  double sum_ = 0;
  std::uint64_t count_ = 0;
};

/// Where the stored image stands in the coded one.
struct Place {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
};

/// The clean apertures of primary images: heif-info shows them ("crop").
const std::map<std::string, Place> kCrops = {{"conformance/C013.heic", {490, 210}},
                                             {"conformance/MIAF007.heic", {320, 180}},
                                             {"special/other_RGB_8_chroma444.heif", {0, 0}},
                                             {"special/truncated_truncated.heic", {0, 0}}};

/// An identity derivation of a cropped and turned image: the library passes over what its input asks for, so that it
/// is no judge of the whole. It has a test of its own.
const std::string kIdentity = "conformance/C039.heic";

/// The sequence parameter sets of this one have chroma_sample_loc_type 1; those of all others have none.
const std::string kSitedAmid = "photos/phone-small.heic";
/// A JPEG picture in a HEIF file. The library makes colour differences of its own of it; it has a test of its own, too.
const std::string kJpegCoded = "fuzz/jpeg32.heif";

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
  auto raster = HeifJudge((test_support::samples() / file).string()).coded();
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

std::vector<CorpusRow> decodableRows(bool heif) {
  std::vector<CorpusRow> rows;
  for (const CorpusRow& row : test_support::readCorpusTable()) {
    const std::string extension = std::filesystem::path(row.file).extension();
    const bool isHeif = extension == ".heic" || extension == ".heif" || extension == ".hif";
    if (row.allows("ok") && isHeif == heif) rows.push_back(row);
  }
  return rows;
}

bool isGrey(const CorpusRow& row) { return row.colorSpaceName.value_or("").find("Gray") != std::string::npos; }

class StoredPixelsOfHeif : public testing::TestWithParam<CorpusRow> {};

TEST_P(StoredPixelsOfHeif, AreThoseOfTheRulesForTheLibrarysSamples) {
  const std::string& file = GetParam().file;
  if (!std::filesystem::exists(test_support::samples() / file)) GTEST_SKIP() << file;
  const StoredPixels stored = test_support::exportPixels(test_support::samples() / file);
  if (isGrey(GetParam())) return test_support::expectFailure(stored.answer, "internal_error", "rgba_draw_failed");
  if (!stored.written() && GetParam().outcomes.size() > 1) GTEST_SKIP() << "need not decode: " << stored.answer;
  ASSERT_TRUE(stored.written()) << stored.answer;
  if (file == kIdentity || file == kJpegCoded) return;
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

INSTANTIATE_TEST_SUITE_P(Samples, StoredPixelsOfHeif, testing::ValuesIn(decodableRows(true)), nameOf);

/// ImageMagick's pixels of a file, not oriented: red, green, blue and alpha of 8 bits.
std::string magickPixels(const std::filesystem::path& file) {
  test_support::ProcessOptions options;
  options.arguments = {file.string() + "[0]", "-depth", "8", "rgba:-"};
  const auto run = test_support::runProcess("/usr/bin/convert", options);
  EXPECT_EQ(run.exitStatus, 0) << run.standardError;
  return run.standardOutput;
}

class StoredPixelsOfOthers : public testing::TestWithParam<CorpusRow> {};

TEST_P(StoredPixelsOfOthers, AreThoseOfImageMagick) {
  const std::filesystem::path path = test_support::samples() / GetParam().file;
  if (!std::filesystem::exists(path)) GTEST_SKIP() << path;
  if (!std::filesystem::exists("/usr/bin/convert")) GTEST_SKIP() << "no ImageMagick to judge";
  const StoredPixels stored = test_support::exportPixels(path);
  if (isGrey(GetParam())) return test_support::expectFailure(stored.answer, "internal_error", "rgba_draw_failed");
  ASSERT_TRUE(stored.written()) << stored.answer;
  const std::string expected = magickPixels(path);
  const ByteView pixels = stored.pixels();
  ASSERT_EQ(expected.size(), pixels.size());
  Differences differences;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    if (i % 4 != 3) differences.add(pixels[i], static_cast<std::uint8_t>(expected[i]));
  }
  differences.record(path.extension());
  // The JPEG library rounds colour differences to 8 bits after it has interpolated them, before the matrix.
  EXPECT_LE(differences.largest(), 3.0);
}

INSTANTIATE_TEST_SUITE_P(Samples, StoredPixelsOfOthers, testing::ValuesIn(decodableRows(false)), nameOf);

// The JPEG file is the only item's data, the rest of the file.
TEST(StoredPixelsOfAJpegItem, AreThoseOfItsJpegFile) {
  const auto path = test_support::samples() / kJpegCoded;
  if (!std::filesystem::exists(path)) GTEST_SKIP() << kJpegCoded;
  if (!std::filesystem::exists("/usr/bin/convert")) GTEST_SKIP() << "no ImageMagick to judge";
  const StoredPixels stored = test_support::exportPixels(path);
  ASSERT_TRUE(stored.written()) << stored.answer;
  std::ifstream stream(path, std::ios::binary);
  const std::string file(std::istreambuf_iterator<char>(stream), {});
  const test_support::TemporaryDirectory directory;
  const auto jpeg = directory.write("item.jpg", std::string_view(file).substr(file.find("\xFF\xD8\xFF")));
  const std::string expected = magickPixels(jpeg);
  ASSERT_EQ(expected.size(), stored.pixels().size());
  Differences differences;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (i % 4 != 3) differences.add(stored.pixels()[i], static_cast<std::uint8_t>(expected[i]));
  }
  differences.record("JPEG item");
  EXPECT_LE(differences.largest(), 3.0);
}

// Item 1003 is the middle 300 x 300 of item 1002 (1280 x 720), a quarter turned anticlockwise; the primary item is the
// middle 150 x 150 of that, and its own turning is not applied. The outermost samples are interpolated from colour
// differences that the part has lost.
TEST(StoredPixelsOfAnIdentity, AreThoseOfItsOriginalTransformed) {
  const auto path = test_support::samples() / kIdentity;
  if (!std::filesystem::exists(path)) GTEST_SKIP() << kIdentity;
  const StoredPixels stored = test_support::exportPixels(path);
  ASSERT_TRUE(stored.written()) << stored.answer;
  ASSERT_EQ(stored.width(), 150U);
  ASSERT_EQ(stored.height(), 150U);
  const auto original = HeifJudge(path.string(), 1002).coded();
  ASSERT_TRUE(original);
  Differences differences;
  for (std::uint32_t y = 1; y < 149; ++y) {
    for (std::uint32_t x = 1; x < 149; ++x) {
      const Color expected = test_support::referenceColor(*original, 490 + 299 - (75 + y), 210 + 75 + x);
      for (std::size_t i = 0; i < 3; ++i) {
        differences.add(stored.pixels()[(std::size_t{y} * 150 + x) * 4 + i], expected[i] * 255);
      }
    }
  }
  differences.record(formOf(*original));
  EXPECT_LE(differences.largest(), 1.0);
}

}  // namespace
}  // namespace quellor
