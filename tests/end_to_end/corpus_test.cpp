// Inspects every sample file and compares the answer with what the tables of expectations say: that of the samples
// that the project makes itself, and corpus_expectations.txt for the sample folder, where it is there.

#include "tests/support/corpus.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/program.h"
#include "tests/support/request.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::CorpusRow;

const std::vector<std::string> kFolders = {test_support::kMade, "photos", "special", "conformance", "fuzz", "other"};

/// What a response without parameters in its message must say for each code.
const std::map<std::string, std::string> kMessages = {
    {"image_source_create_failed", "CGImageSourceCreateWithURL failed"},
    {"no_primary_image", "CGImageSourceCreateImageAtIndex failed at index 0"},
};

template <typename Value>
void expectField(const json& input, const char* key, const std::optional<Value>& expected) {
  EXPECT_EQ(input.value(key, json()), expected ? json(*expected) : json()) << key;
}

void expectDigestForm(const json& input) {
  EXPECT_EQ(input.contains("iccProfileBytes"), input.contains("iccProfileSHA256"));
  if (!input.contains("iccProfileSHA256")) return;
  EXPECT_THAT(input["iccProfileSHA256"].get<std::string>(), ::testing::MatchesRegex("[0-9a-f]{64}"));
  EXPECT_GT(input["iccProfileBytes"].get<long>(), 0);
}

void expectProfile(const json& input, const CorpusRow& row) {
  expectDigestForm(input);
  if (!row.iccBytes) return;  // a profile may then have been built for a named space
  expectField(input, "iccProfileBytes", row.iccBytes);
  expectField(input, "iccProfileSHA256", row.iccSha256);
}

void expectMetadataKeys(const json& input) {
  ASSERT_TRUE(input.contains("metadataKeys") && input["metadataKeys"].is_array());
  const auto keys = input["metadataKeys"].get<std::vector<std::string>>();
  EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
  EXPECT_EQ(std::set<std::string>(keys.begin(), keys.end()).size(), keys.size());
  EXPECT_THAT(keys, ::testing::IsSupersetOf({"ColorModel", "Depth", "PixelHeight", "PixelWidth"}));
  EXPECT_EQ(std::count(keys.begin(), keys.end(), "Orientation") == 1, input.contains("orientation"));
}

void expectFacts(const json& input, const CorpusRow& row) {
  expectField<long>(input, "width", row.width);
  expectField<long>(input, "height", row.height);
  expectField<long>(input, "bitDepth", row.bitDepth);
  expectField<long>(input, "imageCount", row.imageCount);
  expectField(input, "orientation", row.orientation);
  if (row.colorSpaceName) expectField(input, "colorSpaceName", row.colorSpaceName);
  expectField(input, "auxiliaryTypes", std::optional(row.auxiliaryTypes));
  expectField<std::string>(input, "auxiliaryObservation",
                           row.auxiliaryTypes.empty() ? "none_detected_or_api_returned_empty" : "detected");
  expectProfile(input, row);
  expectMetadataKeys(input);
  EXPECT_FALSE(input.contains("path"));
  EXPECT_FALSE(input.contains("decodeValidated"));
}

class Corpus : public ::testing::TestWithParam<CorpusRow> {};

TEST_P(Corpus, IsObservedAsItsFormatAndOtherToolsSay) {
  const CorpusRow& row = GetParam();
  const auto file = test_support::sampleFile(row.file);
  ASSERT_TRUE(std::filesystem::exists(file)) << "a row without its file";

  const json response = test_support::ask(test_support::inspectRequest(file));
  ASSERT_TRUE(response.is_object());
  const bool success = response["success"];
  const std::string outcome = success ? "ok" : response["error"].value("code", "");
  ASSERT_TRUE(row.allows(outcome)) << outcome << " instead of " << ::testing::PrintToString(row.outcomes);
  if (!success) return test_support::expectFailure(response, outcome, kMessages.at(outcome));
  ASSERT_TRUE(response["input"].is_object());
  expectField<std::uintmax_t>(response["input"], "bytes", std::filesystem::file_size(file));
  expectFacts(response["input"], row);
}

INSTANTIATE_TEST_SUITE_P(Samples, Corpus, ::testing::ValuesIn(test_support::readCorpusTable()),
                         [](const auto& tested) { return test_support::testName(tested.param.file); });

TEST(SampleFolder, IsThereBesideTheSamplesThatAreMade) {
  if (!test_support::hasSampleFolder()) GTEST_SKIP() << "no " QUELLOR_SAMPLES ": only made samples are read";
}

TEST(CorpusTable, HasARowForEverySampleFile) {
  std::set<std::string> rows;
  for (const CorpusRow& row : test_support::readCorpusTable()) EXPECT_TRUE(rows.insert(row.file).second) << row.file;
  for (const std::string& folder : kFolders) {
    for (const auto& file : test_support::sampleFiles(folder)) {
      EXPECT_TRUE(rows.contains(folder + "/" + file)) << file;
    }
  }
}

TEST(BuiltProfile, IsTheSameForEveryFileOfItsColorSpace) {
  const struct {
    const char* first;
    const char* second;
  } pairs[] = {{"made/hevc-8-bit-420.heic", "made/jpeg-420.jpg"},
               {"made/hevc-10-bit-444.heic", "made/png-rgb-16.png"},
               {"made/hevc-8-bit-400.heic", "made/hevc-10-bit-400.heic"},
               {"made/hevc-8-bit-400.heic", "made/tiff-grey.tiff"}};
  for (const auto& pair : pairs) {
    const json first = test_support::ask(test_support::inspectRequest(test_support::sampleFile(pair.first)));
    const json second = test_support::ask(test_support::inspectRequest(test_support::sampleFile(pair.second)));
    ASSERT_TRUE(first.contains("input") && first["input"].contains("iccProfileSHA256")) << first;
    ASSERT_TRUE(second.contains("input")) << second;
    EXPECT_EQ(first["input"]["iccProfileSHA256"], second["input"].value("iccProfileSHA256", "")) << pair.second;
  }
}

}  // namespace
}  // namespace quellor
