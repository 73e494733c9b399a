// Compares the exported pixels of every sample that is no HEIF file with those that ImageMagick reads, and those of
// JPEG items with their JPEG file's.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/judges.h"
#include "tests/support/pixel_differences.h"
#include "tests/support/process.h"
#include "tests/support/stored_pixels.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::CorpusRow;
using test_support::Differences;
using test_support::StoredPixels;

std::vector<CorpusRow> decodableRows() {
  std::vector<CorpusRow> rows;
  for (const CorpusRow& row : test_support::readCorpusTable()) {
    if (row.allows("ok") && !row.isHeif()) rows.push_back(row);
  }
  return rows;
}

std::string nameOf(const testing::TestParamInfo<CorpusRow>& info) { return test_support::testName(info.param.file); }

/// ImageMagick's pixels of a file, not oriented: red, green, blue and alpha of 8 bits.
std::string magickPixels(const std::filesystem::path& file) {
  test_support::ProcessOptions options;
  options.arguments = {file.string() + "[0]", "-depth", "8", "rgba:-"};
  const auto run = test_support::runProcess(test_support::judge("convert"), options);
  EXPECT_EQ(run.exitStatus, 0) << run.standardError;
  return run.standardOutput;
}

/// From straight colours over black, which is what a raw file without alpha holds.
Differences differencesOf(ByteView pixels, const std::string& expected) {
  const auto judged = [&expected](std::size_t i) {
    return static_cast<double>(static_cast<std::uint8_t>(expected[i]));
  };
  Differences differences;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    if (i % 4 != 3) differences.add(pixels[i], judged(i) * judged(i - i % 4 + 3) / 255);
  }
  return differences;
}

class StoredPixelsOfOthers : public testing::TestWithParam<CorpusRow> {};

TEST_P(StoredPixelsOfOthers, AreThoseOfImageMagick) {
  if (!test_support::requireJudge("convert")) return;
  const std::filesystem::path path = test_support::sampleFile(GetParam().file);
  const StoredPixels stored = test_support::exportPixels(path);
  if (!GetParam().canBeDrawn()) return test_support::expectFailure(stored.answer, "internal_error", "rgba_draw_failed");
  ASSERT_TRUE(stored.written()) << stored.answer;
  const std::string expected = magickPixels(path);
  const ByteView pixels = stored.pixels();
  ASSERT_EQ(expected.size(), pixels.size());
  const Differences differences = differencesOf(pixels, expected);
  differences.record(path.extension());
  // The JPEG library rounds colour differences to 8 bits after it has interpolated them, before the matrix.
  EXPECT_LE(differences.largest(), 3.0);
}

INSTANTIATE_TEST_SUITE_P(Samples, StoredPixelsOfOthers, testing::ValuesIn(decodableRows()), nameOf);

std::vector<std::string> jpegItems() {
  std::vector<std::string> files = {"made/jpeg-item-420.heif", "made/jpeg-item-444.heif"};
  if (test_support::hasSampleFolder()) files.emplace_back("fuzz/jpeg32.heif");
  return files;
}

// The JPEG file is the only item's data, the rest of the file.
TEST(StoredPixelsOfAJpegItem, AreThoseOfItsJpegFile) {
  if (!test_support::requireJudge("convert")) return;
  for (const std::string& sample : jpegItems()) {
    SCOPED_TRACE(sample);
    const StoredPixels stored = test_support::exportPixels(test_support::sampleFile(sample));
    ASSERT_TRUE(stored.written()) << stored.answer;
    const std::string file = test_support::contentsOf(test_support::sampleFile(sample));
    const test_support::TemporaryDirectory directory;
    const auto jpeg = directory.write("item.jpg", std::string_view(file).substr(file.find("\xFF\xD8\xFF")));
    const std::string expected = magickPixels(jpeg);
    ASSERT_EQ(expected.size(), stored.pixels().size());
    const Differences differences = differencesOf(stored.pixels(), expected);
    differences.record("JPEG item");
    EXPECT_LE(differences.largest(), 3.0);
  }
}

}  // namespace
}  // namespace quellor
