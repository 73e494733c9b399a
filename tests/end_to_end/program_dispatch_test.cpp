// Versions, operation names and the life of the process around them.

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>

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
using test_support::expectFailure;
using test_support::request;
using test_support::runWithInput;
using test_support::with;
using test_support::without;

void expectUnsupportedOperation(const std::string& operation) {
  SCOPED_TRACE(operation);
  const json response = ask(request(operation, "/nonexistent/a.heic"));
  expectFailure(response, "unsupported_operation", "operation " + operation + " not supported");
  EXPECT_EQ(response["operation"], operation);
}

TEST(EmptyInput, IsAnInvalidRequestOfAnUnknownOperation) {
  const json response = test_support::responseOf(runWithInput(""));
  expectFailure(response, "invalid_request", "empty stdin");
  EXPECT_EQ(response["operation"], "unknown");
}

TEST(ProtocolVersion, OtherThanOneIsRefusedInDecimal) {
  for (const std::int64_t version :
       {std::int64_t{0}, std::int64_t{-1}, std::int64_t{2}, std::int64_t{10}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()}) {
    const json response = ask(with(test_support::inspectRequest("/a"), "protocolVersion", version));
    expectFailure(response, "unsupported_protocol_version",
                  "protocolVersion " + std::to_string(version) + " not supported");
    EXPECT_EQ(response["operation"], "inspect");
  }
}

TEST(ProtocolVersion, IsCheckedBeforeTheOperation) {
  const json response = ask(with(request("no such operation", "/a"), "protocolVersion", 2));
  expectFailure(response, "unsupported_protocol_version", "protocolVersion 2 not supported");
  EXPECT_EQ(response["operation"], "no such operation");
}

TEST(ProtocolVersion, IsCheckedBeforeTheInputFile) {
  const test_support::TemporaryDirectory directory;
  const auto file = directory.write("a.tiff", test_support::tinyTiff());
  expectFailure(ask(with(test_support::inspectRequest(file), "protocolVersion", 2)), "unsupported_protocol_version",
                "protocolVersion 2 not supported");
}

TEST(OperationName, IsMatchedExactly) {
  for (const char* operation : {"Inspect", "INSPECT", "inspect ", " inspect", "inspec", "inspect\n", "inspects",
                                "unknown", "encode_candidate", "Encode-Candidate", "rewrite"}) {
    expectUnsupportedOperation(operation);
  }
}

TEST(OperationName, WithANulCharacterIsNotTheNameBeforeIt) {
  expectUnsupportedOperation(std::string("inspect\0", 8));
  expectUnsupportedOperation(std::string("inspect\0x", 9));
}

void expectUndecodable(const std::string& document, const std::string& reason) {
  const auto run = runWithInput(document);
  EXPECT_EQ(run.exitStatus, 2) << describe(run);
  EXPECT_EQ(run.standardOutput, "");
  EXPECT_EQ(run.standardError, "usage: quellor < request.json\ndecode error: " + reason + "\n");
}

TEST(NulCharacter, MakesADocumentNoJsonWhereverItStands) {
  const std::string document = request("nothing", "/a").dump();
  for (const std::size_t at : {std::size_t{0}, std::size_t{1}, document.size() / 2, document.size()}) {
    std::string changed = document;
    changed.insert(at, 1, '\0');
    expectUndecodable(changed, "the NUL character at byte " + std::to_string(at) + " is not JSON");
  }
}

TEST(NulCharacter, InAnOutputPathDoesNotEndTheMessage) {
  const test_support::TemporaryDirectory inputs, outputs;
  const auto picture = inputs.write("a.tiff", test_support::tinyTiff());
  const std::string name("a\0b", 3);
  const std::string message = "The file “" + name + "” couldn’t be saved in the folder “" +
                              outputs.path().filename().string() + "”: no file can have that name.";
  for (const char* operation : {"encode-candidate", "rewrite-from-source", "rewrite-decoded-image"}) {
    json wanted = with(request(operation, picture), "outputPath", outputs.path().string() + "/" + name);
    const json response = ask(with(wanted, "quality", 0.5));
    expectFailure(without(response, "quality"), "atomic_replace_failed", message);
  }
  const json wanted =
      with(request("export-storage-pixels", picture), "outputPath", outputs.path().string() + "/" + name);
  expectFailure(ask(wanted), "internal_error", message);
  EXPECT_TRUE(outputs.isEmpty());
}

TEST(OversizedNumber, IsNamedWhereItMattersAndReadOverElsewhere) {
  for (const char* number : {"1e999", "-1e999"}) {
    const std::string members = std::string("\"x\":") + number + ",\"y\":[" + number + R"(],"inputPath":"/a",)";
    const std::string start = "{" + members + R"("operation":"nothing",)";
    expectUndecodable(start + R"("protocolVersion":1,"quality":)" + number + "}",
                      "key \"quality\" must be a number within the range of a double");
    expectUndecodable(start + R"("protocolVersion":)" + number + "}",
                      "key \"protocolVersion\" must be an integer of 64 bits, not a number that is none");
    expectFailure(test_support::responseOf(runWithInput(start + R"("protocolVersion":1})")), "unsupported_operation",
                  "operation nothing not supported");
  }
}

TEST(OperationName, ThatIsEmptyLeavesTwoSpacesInTheMessage) {
  const json response = ask(request("", "/a"));
  expectFailure(response, "unsupported_operation", "operation  not supported");
  EXPECT_EQ(response["operation"], "");
}

TEST(OperationName, IsEchoedWhateverItHolds) {
  for (const char* operation : {"a/b", "\"quoted\"", "back\\slash", "line\nbreak\ttab", "\x01\x1f\x7f",
                                "gr\u00fc\u00dfe \u753b\u50cf \U0001f4f7", "</script>", "\\/"}) {
    expectUnsupportedOperation(operation);
  }
  expectUnsupportedOperation(std::string(100'000, 'o'));
}

TEST(CommandLineArguments, ChangeNothing) {
  const json plain = request("nothing", "/a");
  test_support::ProcessOptions options;
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"--help"}, {"-h"}, {"--version"}, {"/etc/passwd"}, {"inspect", "/a"}, {"", "--", "\xff"}}) {
    options.arguments = arguments;
    expectFailure(ask(plain, options), "unsupported_operation", "operation nothing not supported");
    EXPECT_EQ(runWithInput("null", options).exitStatus, 2);
  }
}

TEST(ElapsedMilliseconds, OfAnEmptyInputCountFromTheStartOfTheProcess) {
  test_support::ProcessOptions options;
  options.holdInputOpen = std::chrono::milliseconds(600);
  const json response = test_support::responseOf(runWithInput("", options));
  ASSERT_TRUE(response.is_object());
  EXPECT_GE(response["elapsedMilliseconds"], 200);
  EXPECT_LE(response["elapsedMilliseconds"], 10'000);
}

TEST(ElapsedMilliseconds, OfARefusedRequestDoNotCountTheReading) {
  test_support::ProcessOptions options;
  options.holdInputOpen = std::chrono::milliseconds(600);
  const json response = ask(request("nothing", "/a"), options);
  ASSERT_TRUE(response.is_object());
  EXPECT_GE(response["elapsedMilliseconds"], 0);
  EXPECT_LT(response["elapsedMilliseconds"], 300);
}

}  // namespace
}  // namespace quellor
