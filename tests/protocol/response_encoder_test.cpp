#include "protocol/response_encoder.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace quellor {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

HelperResponse success(const std::string& operation) {
  HelperResponse response;
  response.success = true;
  response.operation = operation;
  return response;
}

ImageObservation fullObservation() {
  ImageObservation observation;
  observation.bytes = 1;
  observation.imageCount = 2;
  observation.width = 3;
  observation.height = 4;
  observation.bitDepth = 8;
  observation.orientation = 6;
  observation.colorSpaceName = "n";
  observation.iccProfileBytes = 9;
  observation.iccProfileSHA256 = "ab";
  observation.metadataKeys = {"z", "a"};
  observation.auxiliaryTypes = std::vector<std::string>{};
  observation.auxiliaryObservation = "detected";
  observation.path = "/p";
  observation.decodeValidated = true;
  return observation;
}

TEST(ResponseEncoder, WritesAFailureWithItsFiveKeysInOrder) {
  const HelperResponse response =
      HelperResponse::failed("inspect", {"unsupported_protocol_version", "protocolVersion 2 not supported"}, 0);
  EXPECT_EQ(
      encodeResponse(response),
      R"({"elapsedMilliseconds":0,"error":{"code":"unsupported_protocol_version",)"
      R"("message":"protocolVersion 2 not supported"},"operation":"inspect","protocolVersion":1,"success":false})");
}

TEST(ResponseEncoder, WritesEveryFieldOfEveryRecordInAscendingKeyOrder) {
  HelperResponse response = success("o");
  response.quality = 0.5;
  response.input = fullObservation();
  response.output = ImageObservation{};
  response.storageExport = StorageExportInfo{"r", 2, 1, 4, 0, "last", "n", "cd"};
  response.removedItems = {"{GPS}"};
  response.warnings = {"w2", "w1"};
  response.error = ErrorBody{"c", "m"};
  response.elapsedMilliseconds = 12;
  EXPECT_EQ(encodeResponse(response),
            R"({"elapsedMilliseconds":12,"error":{"code":"c","message":"m"},)"
            R"("input":{"auxiliaryObservation":"detected","auxiliaryTypes":[],"bitDepth":8,"bytes":1,)"
            R"("colorSpaceName":"n","decodeValidated":true,"height":4,"iccProfileBytes":9,"iccProfileSHA256":"ab",)"
            R"("imageCount":2,"metadataKeys":["z","a"],"orientation":6,"path":"\/p","width":3},)"
            R"("operation":"o","output":{},"protocolVersion":1,"quality":0.5,"removedItems":["{GPS}"],)"
            R"("storageExport":{"alphaInfo":"last","bytesPerPixel":4,"colorSpaceName":"n","height":1,)"
            R"("iccProfileSHA256":"cd","orientationApplied":0,"rawPath":"r","width":2},)"
            R"("success":true,"warnings":["w2","w1"]})");
}

TEST(ResponseEncoder, TellsAnEmptyListOfWarningsFromNone) {
  HelperResponse response = success("o");
  EXPECT_THAT(encodeResponse(response), Not(HasSubstr("warnings")));
  response.warnings = std::vector<std::string>{};
  EXPECT_THAT(encodeResponse(response), HasSubstr(R"("warnings":[])"));
}

TEST(ResponseEncoder, NeverWritesNull) {
  HelperResponse response = success("o");
  response.input = ImageObservation{};
  response.storageExport = StorageExportInfo{};
  EXPECT_THAT(encodeResponse(response), Not(HasSubstr("null")));
}

TEST(ResponseEncoder, EscapesSlashesSoThatAParserReadsThemBack) {
  HelperResponse response = success("a/b\\/c");
  response.storageExport = StorageExportInfo{"/tmp/out dir/a.raw", 1, 1, 4, 0, "none", {}, {}};
  const std::string document = encodeResponse(response);
  EXPECT_THAT(document, HasSubstr(R"("rawPath":"\/tmp\/out dir\/a.raw")"));
  const auto parsed = nlohmann::json::parse(document);
  EXPECT_EQ(parsed["storageExport"]["rawPath"], "/tmp/out dir/a.raw");
  EXPECT_EQ(parsed["operation"], "a/b\\/c");
}

TEST(ResponseEncoder, EscapesWhatJsonRequiresAndKeepsOtherTextAsItIs) {
  const std::string document = encodeResponse(success("\"\\\n\x01ä😀"));
  EXPECT_THAT(document, HasSubstr(R"("operation":"\"\\\n\u0001ä😀")"));
}

TEST(ResponseEncoder, WritesAQualityThatReadsBackAsTheSameNumber) {
  for (const double quality : {0.0, 1.0, 0.85, 1.0000001, -0.1, 5e-324, 0.1 + 0.2}) {
    HelperResponse response = success("o");
    response.quality = quality;
    EXPECT_EQ(nlohmann::json::parse(encodeResponse(response))["quality"].get<double>(), quality);
  }
}

TEST(ResponseEncoder, RefusesANumberThatIsNotFinite) {
  for (const double quality : {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()}) {
    HelperResponse response = success("o");
    response.quality = quality;
    EXPECT_THROW(encodeResponse(response), EncodingFailure);
  }
}

TEST(ResponseEncoder, RefusesTextThatIsNotUnicode) { EXPECT_THROW(encodeResponse(success("\xff")), EncodingFailure); }

TEST(HelperFailure, GivesBothTextsToTheErrorBody) {
  HelperFailure failure("first_code", "first message");
  failure.code = "input_not_found";
  failure.message = "input file not found";
  const ErrorBody body = ErrorBody::of(failure);
  EXPECT_EQ(body.code, "input_not_found");
  EXPECT_EQ(body.message, "input file not found");
}

}  // namespace
}  // namespace quellor
