// Every operation that writes, on every sample file: it ends as the rules say, and what it wrote is what another
// decoder and `inspect` take for the same image.

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/corpus.h"
#include "tests/support/judges.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/stored_pixels.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::contentsOf;
using test_support::CorpusRow;
using test_support::littleEndian32;
using test_support::TemporaryDirectory;

constexpr const char* kEncode = "encode-candidate";
constexpr const char* kFromSource = "rewrite-from-source";
constexpr const char* kDecoded = "rewrite-decoded-image";
constexpr const char* kExport = "export-storage-pixels";

/// The error that an operation must end in on a sample that decodes: the writers of decoded images stop at 8 bits, the
/// raw file holds three components.
std::optional<std::string> refusalOf(const std::string& operation, const CorpusRow& row) {
  if ((operation == kEncode || operation == kDecoded) && row.bitDepth > 8) return "unsupported_bit_depth";
  if (operation == kExport && !row.canBeDrawn()) return "internal_error";
  return std::nullopt;
}

class RoundTrip : public ::testing::TestWithParam<std::tuple<CorpusRow, const char*>> {
 protected:
  void SetUp() override {
    if (!test_support::requireJudge("heif-dec")) return;
  }

  [[nodiscard]] static const CorpusRow& row() { return std::get<0>(GetParam()); }
  [[nodiscard]] static std::string operation() { return std::get<1>(GetParam()); }
  [[nodiscard]] static std::filesystem::path input() { return test_support::sampleFile(row().file); }
  [[nodiscard]] std::filesystem::path output() const { return folder_.path() / "out"; }

  [[nodiscard]] json answer() const {
    json wanted = test_support::request(operation(), input());
    wanted["outputPath"] = output().string();
    if (operation() == kEncode) wanted["quality"] = 0.5;
    test_support::ProcessOptions options;
    options.timeLimit = std::chrono::minutes(4);  // 12 megapixels on a machine that has other things to do
    return ask(wanted, options);
  }

  void expectRefusal(const json& response) const {
    EXPECT_TRUE(folder_.isEmpty());
    const std::string code = response["error"].value("code", "");
    if (row().allows(code)) return;  // it does not decode
    ASSERT_TRUE(row().allows("ok")) << response;
    ASSERT_EQ(refusalOf(operation(), row()).value_or("none"), code) << response;
    if (operation() == kExport) {
      EXPECT_EQ(response["error"]["message"], "rgba_draw_failed");
    }
  }

  void expectOneFile() const {
    ASSERT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1) << "a stray file";
    ASSERT_TRUE(std::filesystem::is_regular_file(output()));
  }

  void expectRawFile(const json& response) const {
    const auto width = response["storageExport"]["width"].get<std::uint32_t>();
    const auto height = response["storageExport"]["height"].get<std::uint32_t>();
    EXPECT_EQ(width, row().width);
    EXPECT_EQ(height, row().height);
    const std::string file = contentsOf(output());
    EXPECT_EQ(file.size(), 15 + std::size_t{width} * height * 4);
    EXPECT_EQ(file.substr(0, 15),
              "RGBA\x01" + littleEndian32(width) + littleEndian32(height) + std::string("\x04\0", 2));
  }

  /// A file that the other decoder reads, and that is the same image to `inspect`.
  void expectSameImage(const json& response) const {
    const json seen = ask(test_support::inspectRequest(output()));
    ASSERT_TRUE(seen["success"].get<bool>()) << seen;
    for (const char* key : {"width", "height", "orientation"}) {
      EXPECT_EQ(response["input"].value(key, json()), seen["input"].value(key, json())) << key;
      EXPECT_EQ(response["output"].value(key, json()), seen["input"].value(key, json())) << key;
    }
    for (const char* key : {"colorSpaceName", "iccProfileSHA256"}) {
      const bool isCmyk = row().colorSpaceName == "kCGColorSpaceGenericCMYK";  // which there is no HEIC in
      if (!isCmyk) {
        EXPECT_EQ(response["input"].value(key, json()), seen["input"].value(key, json())) << key;
      }
      EXPECT_EQ(response["output"].value(key, json()), seen["input"].value(key, json())) << key;
    }
    EXPECT_EQ(seen["input"]["imageCount"], 1);
    EXPECT_EQ(seen["input"]["auxiliaryTypes"], json::array());
    test_support::ProcessOptions options;
    options.arguments = {"--png-compression-level", "0", output().string(), (decoded_.path() / "out.png").string()};
    const auto run = test_support::runProcess(test_support::judge("heif-dec"), options);
    EXPECT_EQ(run.exitStatus, 0) << test_support::describe(run);
  }

 private:
  TemporaryDirectory folder_;
  TemporaryDirectory decoded_;
};

TEST_P(RoundTrip, EndsAsTheRulesSay) {
  const std::string before = contentsOf(input());
  const json response = answer();
  ASSERT_TRUE(response.is_object());
  EXPECT_EQ(contentsOf(input()), before) << "the input was changed";
  if (!response["success"].get<bool>()) return expectRefusal(response);

  ASSERT_TRUE(row().allows("ok")) << response;
  ASSERT_EQ(refusalOf(operation(), row()), std::nullopt);
  expectOneFile();
  if (operation() == kExport) {
    expectRawFile(response);
  } else {
    expectSameImage(response);
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, RoundTrip,
                         ::testing::Combine(::testing::ValuesIn(test_support::readCorpusTable()),
                                            ::testing::Values(kEncode, kFromSource, kDecoded, kExport)),
                         [](const auto& tested) {
                           return test_support::testName(std::get<0>(tested.param).file + "_" +
                                                         std::get<1>(tested.param));
                         });

}  // namespace
}  // namespace quellor
