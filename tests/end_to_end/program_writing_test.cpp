#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/judges.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::request;
using test_support::TemporaryDirectory;
using ::testing::HasSubstr;
using ::testing::Not;

const std::filesystem::path kPhoto = std::filesystem::path(QUELLOR_EXAMPLES) / "photo.heic";

std::string contentsOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::size_t filesIn(const TemporaryDirectory& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.path()), {}));
}

/// A request to write the example photo as `name` into the folder.
json writing(const std::string& operation, const TemporaryDirectory& folder, const std::string& name) {
  json wanted = request(operation, kPhoto);
  wanted["outputPath"] = (folder.path() / name).string();
  if (operation == "encode-candidate") wanted["quality"] = 0.5;
  return wanted;
}

/// Every tag that exiftool finds, with its group and value.
std::string tagsOf(const std::filesystem::path& file) {
  test_support::ProcessOptions options;
  options.arguments = {"-a", "-G1", "-s", "-n", file.string()};
  const auto run = test_support::runProcess(test_support::judge("exiftool"), options);
  EXPECT_EQ(run.exitStatus, 0);
  return run.standardOutput;
}

class Writer : public ::testing::TestWithParam<const char*> {};

TEST_P(Writer, KeepsSizeOrientationColorsAndMetadata) {
  const TemporaryDirectory folder;
  const json answer = ask(writing(GetParam(), folder, "out.heic"));
  ASSERT_TRUE(answer["success"].get<bool>()) << answer;
  for (const char* key : {"width", "height", "orientation", "colorSpaceName", "iccProfileSHA256", "metadataKeys"}) {
    EXPECT_EQ(answer["input"][key], answer["output"][key]) << key;
  }
  EXPECT_EQ(answer["output"]["path"], (folder.path() / "out.heic").string());
  EXPECT_EQ(answer["output"]["bytes"], std::filesystem::file_size(folder.path() / "out.heic"));
  EXPECT_EQ(answer["output"]["decodeValidated"], true);
  EXPECT_EQ(answer["removedItems"], json::array());
  EXPECT_EQ(filesIn(folder), 1U) << "a temporary file was left";
}

TEST_P(Writer, RemovesWhatThePolicyAsksForFromExifAndXmpAlike) {
  if (!test_support::requireJudge("exiftool")) return;
  const TemporaryDirectory folder;
  json wanted = writing(GetParam(), folder, "out.heic");
  wanted["metadataPolicy"] = {{"removeGPS", true}, {"removeMakerMetadata", true}};
  const json answer = ask(wanted);
  ASSERT_TRUE(answer["success"].get<bool>()) << answer;
  EXPECT_EQ(answer["removedItems"], json::array({"{GPS}"}));
  const std::string tags = tagsOf(folder.path() / "out.heic");
  for (const char* gone : {"GPS", "Make", "Example One"}) EXPECT_THAT(tags, Not(HasSubstr(gone)));
  for (const char* kept : {"LensModel", "ExposureTime", "A meadow under a hazy sun"}) {
    EXPECT_THAT(tags, HasSubstr(kept));
  }
}

TEST_P(Writer, NeverTouchesWhatExistsAtItsDestination) {
  const TemporaryDirectory folder;
  const auto existing = folder.write("out.heic", "precious");
  const json answer = ask(writing(GetParam(), folder, "out.heic"));
  const bool early = std::string(GetParam()) == "encode-candidate";
  test_support::expectFailure(test_support::without(answer, "quality"),
                              early ? "invalid_request" : "atomic_replace_failed", "output path already exists");
  EXPECT_EQ(contentsOf(existing), "precious");
  EXPECT_EQ(filesIn(folder), 1U);
}

INSTANTIATE_TEST_SUITE_P(All, Writer,
                         ::testing::Values("encode-candidate", "rewrite-from-source", "rewrite-decoded-image"),
                         [](const auto& tested) {
                           std::string name = tested.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST(EncodeCandidate, MakesALargerFileOfAHigherQuality) {
  const TemporaryDirectory folder;
  std::int64_t last = 0;
  for (const double quality : {0.0, 0.3, 0.6, 0.9, 1.0}) {
    json wanted = writing("encode-candidate", folder, std::to_string(quality) + ".heic");
    wanted["quality"] = quality;
    const json answer = ask(wanted);
    ASSERT_TRUE(answer["success"].get<bool>()) << answer;
    EXPECT_GT(answer["output"]["bytes"].get<std::int64_t>(), last) << quality;
    last = answer["output"]["bytes"].get<std::int64_t>();
  }
}

TEST(ExportStoragePixels, WritesTheStoredPixelsBehindTheirHeader) {
  const TemporaryDirectory folder;
  const json answer = ask(writing("export-storage-pixels", folder, "out.raw"));
  ASSERT_TRUE(answer["success"].get<bool>()) << answer;
  EXPECT_EQ(answer["warnings"], json::array({"storage_pixel_no_orientation_transform"}));
  const std::string file = contentsOf(folder.path() / "out.raw");
  ASSERT_EQ(file.size(), 15U + 480U * 360U * 4U);
  // 480 is 0x1e0, 360 is 0x168, little-endian.
  EXPECT_EQ(file.substr(0, 15), std::string("RGBA\x01\xe0\x01\0\0\x68\x01\0\0\x04\0", 15));
  EXPECT_EQ(filesIn(folder), 1U);
}

}  // namespace
}  // namespace quellor
