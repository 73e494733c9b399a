// Which requests the program can decode, seen from its caller: anything else ends with status 2, two lines on standard
// error and nothing on standard output.

#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/program.h"
#include "tests/support/request.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ProcessResult;
using test_support::runWithInput;
using test_support::with;
using test_support::without;

const std::string kUsage = "usage: quellor < request.json\n";
const std::string kReason = "decode error: ";

/// Expects the usage line and a reason that holds `word`.
void expectUndecodable(const std::string& input, const std::string& word = "") {
  SCOPED_TRACE(input.substr(0, 200));
  const ProcessResult run = runWithInput(input);
  EXPECT_EQ(run.exitStatus, 2) << test_support::describe(run);
  EXPECT_EQ(run.standardOutput, "");
  const std::string& error = run.standardError;
  ASSERT_TRUE(error.starts_with(kUsage + kReason)) << error;
  EXPECT_GT(error.size(), kUsage.size() + kReason.size() + 1) << "no reason given";
  EXPECT_EQ(error.find('\n', kUsage.size()), error.size() - 1) << "more than two lines: " << error;
  EXPECT_NE(error.find(word, kUsage.size()), std::string::npos) << word << " is not named in " << error;
}

/// A decodable request for a file that does not exist.
json plainRequest() { return test_support::inspectRequest("/nonexistent/a.heic"); }

void expectDecoded(const json& request) {
  SCOPED_TRACE(request.dump());
  test_support::expectInputNotFound(test_support::ask(request));
}

TEST(RequestDocument, IsRefusedWhenItIsNotOneJsonObject) {
  for (const char* input : {"\n", " \t\r\n ", "null", "[]", "[{}]", "true", "1", "\"inspect\"", "{", "{]", "not json",
                            "{'protocolVersion':1}", "{\"protocolVersion\":1,}", "\xff\xfe", "// comment\n{}"}) {
    expectUndecodable(input);
  }
}

TEST(RequestDocument, IsRefusedWhenSomethingFollowsIt) {
  for (const char* rest : {"{}", "x", ",", "]", "\n1"}) expectUndecodable(plainRequest().dump() + rest);
}

TEST(RequestDocument, MayStandInWhiteSpace) {
  const json response = test_support::responseOf(runWithInput("\n\t " + plainRequest().dump(4) + " \r\n"));
  test_support::expectInputNotFound(response);
}

TEST(RequestDocument, IsRefusedWhenItIsCutAnywhere) {
  const std::string whole = plainRequest().dump();
  for (std::size_t size = 1; size < whole.size(); size += 7) expectUndecodable(whole.substr(0, size));
}

TEST(RequestDocument, IsRefusedWhenItsTextIsNotUtf8) {
  expectUndecodable(R"({"protocolVersion":1,"operation":"inspect","inputPath":"/a)"
                    "\xff"
                    R"("})");
}

TEST(RequiredKey, IsMissedWhenAbsentOrNull) {
  for (const char* key : {"protocolVersion", "operation", "inputPath"}) {
    expectUndecodable(without(plainRequest(), key).dump(), key);
    expectUndecodable(with(plainRequest(), key, nullptr).dump(), key);
  }
}

TEST(RequiredKey, IsMatchedByCase) {
  expectUndecodable(R"({"protocolVersion":1,"operation":"inspect","InputPath":"/a"})", "inputPath");
  expectUndecodable(R"({"protocolversion":1,"operation":"inspect","inputPath":"/a"})", "protocolVersion");
}

TEST(RequiredKey, IsCheckedBeforeVersionAndOperation) {
  expectUndecodable(R"({"protocolVersion":2,"operation":"inspect"})", "inputPath");
  expectUndecodable(R"({"protocolVersion":1,"operation":"no such operation"})", "inputPath");
}

TEST(WrongType, OfAnyKnownKeyIsRefusedAndNamed) {
  const struct {
    const char* key;
    json value;
  } cases[] = {
      {"protocolVersion", "1"},
      {"protocolVersion", 1.5},
      {"protocolVersion", true},
      {"protocolVersion", json::array({1})},
      {"protocolVersion", 9223372036854775808U},  // 2^63, one more than fits
      {"protocolVersion", 1e30},
      {"operation", 1},
      {"operation", json::array({"inspect"})},
      {"inputPath", false},
      {"inputPath", json::object()},
      {"outputPath", 1},
      {"outputPath", json::array()},
      {"quality", "0.5"},
      {"quality", true},
      {"quality", json::array({0.5})},
      {"metadataPolicy", "none"},
      {"metadataPolicy", json::array()},
      {"metadataPolicy", true},
      {"metadataPolicy", 0},
  };
  for (const auto& c : cases) expectUndecodable(with(plainRequest(), c.key, c.value).dump(), c.key);
}

const char* const kPolicyFlags[] = {"preserveColorProfile", "preserveOrientation", "removeGPS", "removeXMP",
                                    "removeMakerMetadata",  "dropAuxiliaryImages"};

TEST(MetadataPolicyFlag, IsRefusedUnlessItIsABooleanOrNull) {
  for (const char* flag : kPolicyFlags) {
    for (const json& value : {json(1), json(0), json("true"), json::array(), json::object()}) {
      expectUndecodable(with(plainRequest(), "metadataPolicy", {{flag, value}}).dump(), flag);
    }
    for (const json& value : {json(true), json(false), json(nullptr)}) {
      expectDecoded(with(plainRequest(), "metadataPolicy", {{flag, value}}));
    }
  }
}

TEST(FirstOffendingKey, InTheOrderOfTheProtocolIsTheOneNamed) {
  json request = with(plainRequest(), "quality", "high");
  request["metadataPolicy"] = {{"removeGPS", 1}, {"dropAuxiliaryImages", 1}};
  expectUndecodable(request.dump(), "quality");
  request.erase("quality");
  expectUndecodable(request.dump(), "removeGPS");
  request["operation"] = 1;
  expectUndecodable(request.dump(), "operation");
}

TEST(OptionalKey, MayBeMissingOrNull) {
  expectDecoded(plainRequest());
  for (const char* key : {"outputPath", "quality", "metadataPolicy"}) expectDecoded(with(plainRequest(), key, nullptr));
  expectDecoded(with(plainRequest(), "metadataPolicy", json::object()));
}

TEST(OptionalKey, IsNotCheckedForSense) {
  for (const json& quality : {json(1), json(0.5), json(-3), json(12.5), json(1e300)}) {
    expectDecoded(with(plainRequest(), "quality", quality));
  }
  expectDecoded(with(plainRequest(), "outputPath", ""));
}

TEST(UnknownKey, IsIgnoredAtEveryLevel) {
  json request = plainRequest();
  request["unknown"] = {{"deep", {1, nullptr, "x"}}};
  request["protocolversion"] = "not the version";
  request["metadataPolicy"] = {{"removegps", 1}, {"unknown", json::array()}};
  expectDecoded(request);
}

TEST(NestedBrackets, OfManyMegabytesAreRefusedQuickly) {
  for (const char* bracket : {"[", R"({"a":)"}) {
    std::string input;
    while (input.size() < 8U << 20) input += bracket;
    test_support::ProcessOptions options;
    options.timeLimit = std::chrono::seconds(10);
    const ProcessResult run = runWithInput(input, options);
    EXPECT_EQ(run.exitStatus, 2) << test_support::describe(run);
    EXPECT_EQ(run.standardOutput, "");
    EXPECT_TRUE(run.standardError.starts_with(kUsage + kReason));
    EXPECT_LT(run.standardError.size(), 1000U) << "the request is echoed";
  }
}

TEST(LargeRequest, OfFiftyMegabytesIsAnswered) {
  json request = plainRequest();
  for (int i = 0; i < 40; ++i) request["text" + std::to_string(i)] = std::string(1U << 20, 'x');
  json numbers = json::array();
  for (int i = 0; i < 2'000'000; ++i) numbers.push_back(i % 10'000);
  request["numbers"] = std::move(numbers);
  const std::string text = request.dump();
  ASSERT_GE(text.size(), 50'000'000U);
  test_support::expectInputNotFound(test_support::responseOf(runWithInput(text)));
}

}  // namespace
}  // namespace quellor
