// The exact text of responses: one compact line, keys in ascending order, every slash escaped.

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/png_fixture.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/tiny_tiff.h"
#include "tests/support/writing_operations.h"

namespace quellor {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using test_support::request;
using test_support::runWithInput;
using test_support::runWithRequest;
using test_support::with;

/// The response line with its time replaced by 0, which is what a run under a millisecond prints.
std::string lineWithoutTime(const test_support::ProcessResult& run) {
  return std::regex_replace(run.standardOutput, std::regex(R"("elapsedMilliseconds":-?[0-9]+)"),
                            R"("elapsedMilliseconds":0)");
}

std::vector<std::string> keysInWrittenOrder(const ordered_json& object) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : object.items()) keys.push_back(key);
  return keys;
}

std::string escapeSlashes(const std::string& text) { return std::regex_replace(text, std::regex("/"), R"(\/)"); }

TEST(FailureResponse, IsThisLineForAnUnsupportedVersion) {
  EXPECT_EQ(lineWithoutTime(runWithRequest(with(test_support::inspectRequest("/a"), "protocolVersion", 2))),
            R"({"elapsedMilliseconds":0,"error":{"code":"unsupported_protocol_version",)"
            R"("message":"protocolVersion 2 not supported"},"operation":"inspect","protocolVersion":1,"success":false})"
            "\n");
}

TEST(FailureResponse, IsThisLineForAnEmptyInput) {
  EXPECT_EQ(lineWithoutTime(runWithInput("")),
            R"({"elapsedMilliseconds":0,"error":{"code":"invalid_request","message":"empty stdin"},)"
            R"("operation":"unknown","protocolVersion":1,"success":false})"
            "\n");
}

TEST(FailureResponse, IsThisLineForAMissingFile) {
  EXPECT_EQ(lineWithoutTime(runWithRequest(test_support::inspectRequest("/nonexistent/a.heic"))),
            R"({"elapsedMilliseconds":0,"error":{"code":"input_not_found","message":"input file not found"},)"
            R"("operation":"inspect","protocolVersion":1,"success":false})"
            "\n");
}

TEST(ResponseText, EscapesSlashesQuotesBackslashesAndControlCharactersOnly) {
  const std::string operation = "a/b \"c\" \\ \n\t\x01 \u00e9\U0001f4f7";
  const std::string written = R"(a\/b \"c\" \\ \n\t\u0001 )"
                              "\u00e9\U0001f4f7";
  EXPECT_EQ(lineWithoutTime(runWithRequest(request(operation, "/a"))),
            R"({"elapsedMilliseconds":0,"error":{"code":"unsupported_operation","message":"operation )" + written +
                R"( not supported"},"operation":")" + written + R"(","protocolVersion":1,"success":false})" + "\n");
}

TEST(ResponseText, IsTheSameHoweverTheRequestEscapedItsText) {
  const auto escaped = runWithInput(R"({"protocolVersion":1,"operation":"\u0061\/\u00e9","inputPath":"\/a"})");
  EXPECT_EQ(lineWithoutTime(escaped), lineWithoutTime(runWithRequest(request("a/\u00e9", "/a"))));
}

class SuccessResponse : public ::testing::Test {
 protected:
  SuccessResponse() : file_(directory_.write("a.tiff", test_support::tinyTiff(6))) {
    run_ = runWithRequest(test_support::inspectRequest(file_));
    response_ = ordered_json::parse(run_.standardOutput, nullptr, false);
  }
  void SetUp() override { ASSERT_TRUE(response_.is_object()) << test_support::describe(run_); }

  test_support::TemporaryDirectory directory_;
  std::filesystem::path file_;
  test_support::ProcessResult run_;
  ordered_json response_;
};

TEST_F(SuccessResponse, IsOneCompactLineWithEscapedSlashes) {
  EXPECT_EQ(run_.standardOutput, escapeSlashes(response_.dump()) + "\n");
  EXPECT_EQ(run_.standardError, "");
  EXPECT_EQ(run_.exitStatus, 0);
}

TEST_F(SuccessResponse, HasItsKeysInAscendingOrderAndNoOthers) {
  EXPECT_EQ(keysInWrittenOrder(response_),
            (std::vector<std::string>{"elapsedMilliseconds", "input", "operation", "protocolVersion", "success"}));
  EXPECT_EQ(keysInWrittenOrder(response_["input"]),
            (std::vector<std::string>{"auxiliaryObservation", "auxiliaryTypes", "bitDepth", "bytes", "colorSpaceName",
                                      "height", "iccProfileBytes", "iccProfileSHA256", "imageCount", "metadataKeys",
                                      "orientation", "width"}));
}

TEST_F(SuccessResponse, WritesWholeNumbersAsIntegers) {
  EXPECT_TRUE(response_["elapsedMilliseconds"].is_number_integer());
  EXPECT_TRUE(response_["protocolVersion"].is_number_integer());
  for (const char* key : {"bitDepth", "bytes", "height", "iccProfileBytes", "imageCount", "orientation", "width"}) {
    EXPECT_TRUE(response_["input"][key].is_number_integer()) << key;
  }
}

/// What a writing operation prints for the image, as an object in the written order.
ordered_json writtenAnswer(const char* operation, const std::filesystem::path& input) {
  const test_support::TemporaryDirectory outputs;
  const auto run = runWithRequest(test_support::writingRequest(operation, input, outputs.path() / "out"));
  ordered_json answer = ordered_json::parse(run.standardOutput, nullptr, false);
  EXPECT_TRUE(answer.is_object() && answer.value("success", false)) << test_support::describe(run);
  EXPECT_EQ(run.standardOutput, escapeSlashes(answer.dump()) + "\n");
  return answer;
}

TEST_F(SuccessResponse, OfAHeicWriteHasItsKeysInAscendingOrderAndNoOthers) {
  for (const char* operation :
       {test_support::kEncodeCandidate, test_support::kRewriteFromSource, test_support::kRewriteDecoded}) {
    const ordered_json answer = writtenAnswer(operation, file_);
    std::vector<std::string> expected = {
        "elapsedMilliseconds", "input",   "operation", "output", "protocolVersion", "quality",
        "removedItems",        "success", "warnings"};
    if (operation != test_support::kEncodeCandidate) std::erase(expected, "quality");
    EXPECT_EQ(keysInWrittenOrder(answer), expected) << operation;
    EXPECT_EQ(answer["operation"], operation);
    EXPECT_EQ(answer["input"], response_["input"]) << operation;
    EXPECT_EQ(keysInWrittenOrder(answer["output"]),
              (std::vector<std::string>{"auxiliaryObservation", "auxiliaryTypes", "bitDepth", "bytes", "colorSpaceName",
                                        "decodeValidated", "height", "iccProfileBytes", "iccProfileSHA256",
                                        "imageCount", "metadataKeys", "orientation", "path", "width"}));
    EXPECT_EQ(answer["output"]["decodeValidated"], true);
  }
}

TEST_F(SuccessResponse, OfAnExportHasItsKeysInAscendingOrderAndNoOthers) {
  const ordered_json answer = writtenAnswer(test_support::kExport, file_);
  EXPECT_EQ(keysInWrittenOrder(answer),
            (std::vector<std::string>{"elapsedMilliseconds", "input", "operation", "protocolVersion", "storageExport",
                                      "success", "warnings"}));
  EXPECT_EQ(answer["input"], response_["input"]);
  EXPECT_EQ(keysInWrittenOrder(answer["storageExport"]),
            (std::vector<std::string>{"alphaInfo", "bytesPerPixel", "colorSpaceName", "height", "iccProfileSHA256",
                                      "orientationApplied", "rawPath", "width"}));
}

// A picture of Rec. ITU-R BT.2100 PQ, which no profile describes, and without an orientation.
TEST(AbsentFacts, HaveNoKey) {
  test_support::PngSpec spec = test_support::plainPng();
  spec.chunksBeforeData = {{"cICP", {9, 16, 0, 1}}};
  const Bytes picture = test_support::encodePng(spec);
  const test_support::TemporaryDirectory inputs;
  const auto input = inputs.write("a.png", {reinterpret_cast<const char*>(picture.data()), picture.size()});
  const std::vector<std::string> inputKeys = {
      "auxiliaryObservation", "auxiliaryTypes", "bitDepth", "bytes", "colorSpaceName", "height",
      "imageCount",           "metadataKeys",   "width"};
  const std::vector<std::string> outputKeys = {
      "auxiliaryObservation", "auxiliaryTypes", "bitDepth", "bytes", "colorSpaceName", "decodeValidated", "height",
      "imageCount",           "metadataKeys",   "path",     "width"};
  for (const char* operation :
       {test_support::kEncodeCandidate, test_support::kRewriteFromSource, test_support::kRewriteDecoded}) {
    const ordered_json answer = writtenAnswer(operation, input);
    EXPECT_EQ(keysInWrittenOrder(answer["input"]), inputKeys) << operation;
    EXPECT_EQ(keysInWrittenOrder(answer["output"]), outputKeys) << operation;
  }
  const ordered_json exported = writtenAnswer(test_support::kExport, input);
  EXPECT_EQ(keysInWrittenOrder(exported["input"]), inputKeys);
  EXPECT_EQ(keysInWrittenOrder(exported["storageExport"]),
            (std::vector<std::string>{"alphaInfo", "bytesPerPixel", "colorSpaceName", "height", "orientationApplied",
                                      "rawPath", "width"}));
}

TEST_F(SuccessResponse, NeverHoldsNull) { EXPECT_EQ(run_.standardOutput.find("null"), std::string::npos); }

}  // namespace
}  // namespace quellor
