// The inspect operation on files that the tests build themselves.

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/tiny_tiff.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::inspectRequest;
using test_support::tinyTiff;

class Inspect : public ::testing::Test {
 protected:
  [[nodiscard]] json inspect(std::string_view content, const std::string& name = "a.tiff") const {
    return ask(inspectRequest(directory_.write(name, content)));
  }

  test_support::TemporaryDirectory directory_;
};

TEST_F(Inspect, ReportsTheFactsOfTheImage) {
  const json response = inspect(tinyTiff(6));
  ASSERT_TRUE(response.is_object() && response.contains("input")) << response;
  EXPECT_EQ(response["success"], true);
  EXPECT_EQ(response["operation"], "inspect");
  EXPECT_EQ(response["protocolVersion"], 1);
  const json& input = response["input"];
  EXPECT_EQ(input["bytes"], tinyTiff(6).size());
  EXPECT_EQ(input["imageCount"], 1);
  EXPECT_EQ(input["width"], 3);
  EXPECT_EQ(input["height"], 2);
  EXPECT_EQ(input["bitDepth"], 8);
  EXPECT_EQ(input["orientation"], 6);
  EXPECT_EQ(input["colorSpaceName"], "kCGColorSpaceSRGB");
  EXPECT_EQ(input["auxiliaryTypes"], json::array());
  EXPECT_EQ(input["auxiliaryObservation"], "none_detected_or_api_returned_empty");
}

TEST_F(Inspect, ReportsNoOrientationWhereTheFileHasNone) {
  const json response = inspect(tinyTiff());
  ASSERT_TRUE(response.contains("input")) << response;
  EXPECT_FALSE(response["input"].contains("orientation"));
}

TEST_F(Inspect, ListsMetadataKeysInAscendingOrder) {
  const json response = inspect(tinyTiff(1));
  ASSERT_TRUE(response.contains("input")) << response;
  const auto keys = response["input"]["metadataKeys"].get<std::vector<std::string>>();
  EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end()));
  for (const char* key : {"ColorModel", "Depth", "Orientation", "PixelHeight", "PixelWidth", "{TIFF}"}) {
    EXPECT_EQ(std::count(keys.begin(), keys.end(), key), 1) << key;
  }
}

TEST_F(Inspect, GivesTheProfileOfANamedSpaceWithItsDigest) {
  const json response = inspect(tinyTiff());
  ASSERT_TRUE(response.contains("input")) << response;
  EXPECT_GT(response["input"].value("iccProfileBytes", 0), 0);
  const std::string digest = response["input"].value("iccProfileSHA256", "");
  EXPECT_EQ(digest.size(), 64U);
  EXPECT_EQ(digest.find_first_not_of("0123456789abcdef"), std::string::npos) << digest;
}

TEST_F(Inspect, GoesByTheContentAndNotByTheName) {
  for (const char* name : {"a.heic", "a.txt", "a", ".hidden", "a b\n\"c\".jpg", "\u753b\u50cf.tiff"}) {
    const json response = inspect(tinyTiff(), name);
    EXPECT_EQ(response.value("success", false), true) << name;
  }
}

TEST_F(Inspect, TakesAPathRelativeToTheWorkingDirectory) {
  static_cast<void>(directory_.write("a.tiff", tinyTiff()));
  test_support::ProcessOptions options;
  options.workingDirectory = directory_.path();
  EXPECT_EQ(ask(inspectRequest("a.tiff"), options).value("success", false), true);
  EXPECT_EQ(ask(inspectRequest("./a.tiff"), options).value("success", false), true);
}

TEST_F(Inspect, IgnoresWhatOnlyOtherOperationsNeed) {
  const auto file = directory_.write("a.tiff", tinyTiff(3));
  json request = inspectRequest(file);
  const json plain = ask(request);
  const auto output = directory_.path() / "out.heic";
  request["outputPath"] = output.string();
  request["quality"] = 7.5;
  request["metadataPolicy"] = {{"removeGPS", true}, {"preserveOrientation", false}};
  const json response = ask(request);
  EXPECT_EQ(response["input"], plain["input"]);
  EXPECT_EQ(response.size(), 5U) << response;
  EXPECT_FALSE(std::filesystem::exists(output));
}

TEST_F(Inspect, WritesNothingAnywhereNearTheInput) {
  const auto file = directory_.write("a.tiff", tinyTiff());
  const auto before = std::filesystem::last_write_time(file);
  const test_support::TemporaryDirectory working;
  test_support::ProcessOptions options;
  options.workingDirectory = working.path();
  options.environment["TMPDIR"] = working.path().string();
  EXPECT_EQ(ask(inspectRequest(file), options).value("success", false), true);
  EXPECT_TRUE(working.isEmpty());
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path()), {}), 1);
  EXPECT_EQ(std::filesystem::last_write_time(file), before);
}

TEST_F(Inspect, GivesTheSameAnswerEveryTime) {
  const auto file = directory_.write("a.tiff", tinyTiff(1));
  const json first = ask(inspectRequest(file));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(ask(inspectRequest(file))["input"], first["input"]);
}

TEST_F(Inspect, FindsNoFileWhereThereIsNone) {
  static_cast<void>(directory_.write("a.tiff", tinyTiff()));
  for (const std::string& path :
       {std::string(), (directory_.path() / "b.tiff").string(), (directory_.path() / "a.tiff" / "b").string(),
        std::string("/nonexistent/a.heic"), std::string(5'000, 'x'), "/" + std::string(5'000, 'x')}) {
    SCOPED_TRACE(path.substr(0, 100));
    test_support::expectInputNotFound(ask(inspectRequest(path)));
  }
}

TEST_F(Inspect, FindsNoFileBehindANulCharacter) {
  const std::string path = directory_.write("a.tiff", tinyTiff()).string();
  for (const std::string& tail : {std::string("\0", 1), std::string("\0.heic", 6)}) {
    test_support::expectInputNotFound(ask(inspectRequest(path + tail)));
  }
  test_support::expectInputNotFound(ask(inspectRequest(std::string("\0", 1) + path)));
}

TEST_F(Inspect, RefusesAFileThatIsNoImage) {
  const struct {
    const char* what;
    std::string content;
  } cases[] = {
      {"empty", ""},
      {"one byte", "I"},
      {"text", "this is no image\n"},
      {"zeros", std::string(100'000, '\0')},
      {"TIFF magic alone", std::string("II*\0", 4)},
      {"TIFF whose directory is outside", std::string("II*\0\xff\xff\xff\x7f", 8)},
      {"JPEG magic alone", "\xff\xd8\xff"},
      {"PNG signature alone", "\x89PNG\r\n\x1a\n"},
      {"GIF magic alone", "GIF89a"},
      {"WebP header alone", std::string("RIFF\x04\0\0\0WEBP", 12)},
      {"HEIF brand alone", std::string("\0\0\0\x10"
                                       "ftypheic\0\0\0\0",
                                       16)},
      {"JSON", R"({"protocolVersion":1})"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    test_support::expectNoImageSource(inspect(c.content, "a.heic"));
  }
}

TEST_F(Inspect, FindsNoPrimaryImageWhereItsSamplesAreMissing) {
  std::string file = tinyTiff();
  // The strip's byte count and its place stay within the file's directory, the strip itself moves past the end.
  const std::size_t stripOffsetValue = 32 + 2 + 5 * 12 + 8;
  file[stripOffsetValue + 1] = '\x7f';
  const json response = inspect(file);
  test_support::expectNoPrimaryImage(response);
}

}  // namespace
}  // namespace quellor
