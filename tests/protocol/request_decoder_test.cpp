#include "protocol/request_decoder.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quellor {
namespace {

using ::testing::HasSubstr;

HelperRequest decoded(const std::string& document) { return decodeRequest(document); }

/// The description of the failure to decode `document`, or empty when it decodes.
std::string failureOf(const std::string& document) {
  try {
    decodeRequest(document);
    return {};
  } catch (const DecodingFailure& failure) {
    return failure.what();
  }
}

/// A request with the required keys and `more` members behind them.
std::string requestWith(const std::string& more) {
  return R"({"protocolVersion":1,"operation":"inspect","inputPath":"/a.heic")" + (more.empty() ? "" : "," + more) + "}";
}

TEST(RequestDecoder, LeavesOptionalFieldsAbsentWhenOnlyTheRequiredKeysAreGiven) {
  const HelperRequest request = decoded(requestWith(""));
  EXPECT_EQ(request.protocolVersion, 1);
  EXPECT_EQ(request.operation, "inspect");
  EXPECT_EQ(request.inputPath, "/a.heic");
  EXPECT_FALSE(request.outputPath);
  EXPECT_FALSE(request.quality);
  EXPECT_FALSE(request.metadataPolicy);
}

TEST(RequestDecoder, TakesNullForAnAbsentOptionalField) {
  const HelperRequest request = decoded(requestWith(R"("outputPath":null,"quality":null,"metadataPolicy":null)"));
  EXPECT_FALSE(request.outputPath);
  EXPECT_FALSE(request.quality);
  EXPECT_FALSE(request.metadataPolicy);
}

TEST(RequestDecoder, TellsAnEmptyPolicyFromNone) {
  const HelperRequest request = decoded(requestWith(R"("metadataPolicy":{})"));
  ASSERT_TRUE(request.metadataPolicy);
  EXPECT_FALSE(request.metadataPolicy->preserveColorProfile);
  EXPECT_FALSE(request.metadataPolicy->preserveOrientation);
  EXPECT_FALSE(request.metadataPolicy->removeGPS);
  EXPECT_FALSE(request.metadataPolicy->removeXMP);
  EXPECT_FALSE(request.metadataPolicy->removeMakerMetadata);
  EXPECT_FALSE(request.metadataPolicy->dropAuxiliaryImages);
}

TEST(RequestDecoder, KeepsEachPolicyFlagInItsThreeStates) {
  const auto policy = decoded(requestWith(R"("metadataPolicy":{"preserveColorProfile":true,"preserveOrientation":false,
      "removeGPS":true,"removeXMP":null,"dropAuxiliaryImages":false})"))
                          .metadataPolicy;
  ASSERT_TRUE(policy);
  EXPECT_EQ(policy->preserveColorProfile, std::optional(true));
  EXPECT_EQ(policy->preserveOrientation, std::optional(false));
  EXPECT_EQ(policy->removeGPS, std::optional(true));
  EXPECT_EQ(policy->removeXMP, std::nullopt);
  EXPECT_EQ(policy->removeMakerMetadata, std::nullopt);
  EXPECT_EQ(policy->dropAuxiliaryImages, std::optional(false));
}

TEST(RequestDecoder, IgnoresKeysThatNoRecordDeclares) {
  const HelperRequest request = decoded(requestWith(
      R"("Operation":"x","verbose":[1,{"operation":"deep"}],"other":{"inputPath":3},"metadataPolicy":{"removegps":7})"));
  EXPECT_EQ(request.operation, "inspect");
  EXPECT_EQ(request.inputPath, "/a.heic");
  ASSERT_TRUE(request.metadataPolicy);
  EXPECT_FALSE(request.metadataPolicy->removeGPS);
}

TEST(RequestDecoder, ValidatesNothingForSense) {
  const HelperRequest request =
      decoded(R"({"protocolVersion":-7,"operation":"","inputPath":"","outputPath":"","quality":-3})");
  EXPECT_EQ(request.protocolVersion, -7);
  EXPECT_EQ(request.operation, "");
  EXPECT_EQ(request.outputPath, std::optional<std::string>(""));
  EXPECT_EQ(request.quality, std::optional(-3.0));
}

TEST(RequestDecoder, TakesAnyNumberForQuality) {
  const struct {
    const char* text;
    double value;
  } cases[] = {{"1", 1.0},     {"0", 0.0},      {"0.85", 0.85},
               {"-0.0", -0.0}, {"1e-3", 0.001}, {"12345678901234567890", 12345678901234567890.0}};
  for (const auto& c : cases) {
    EXPECT_EQ(decoded(requestWith(std::string("\"quality\":") + c.text)).quality, std::optional(c.value)) << c.text;
  }
}

TEST(RequestDecoder, TakesVersionsWithAnIntegralValueOf64Bits) {
  const struct {
    const char* text;
    std::int64_t value;
  } cases[] = {
      {"0", 0},   {"-1", -1}, {"9223372036854775807", INT64_MAX}, {"-9223372036854775808", INT64_MIN}, {"1.0", 1},
      {"1e0", 1}, {"2", 2}};
  for (const auto& c : cases) {
    const std::string document = std::string("{\"protocolVersion\":") + c.text + R"(,"operation":"o","inputPath":"i"})";
    EXPECT_EQ(decoded(document).protocolVersion, c.value) << c.text;
  }
}

TEST(RequestDecoder, RefusesVersionsThatAreNoIntegerOf64Bits) {
  for (const char* text : {"1.5", "9223372036854775808", "-9223372036854775809", "1e30", "\"1\"", "true", "[]", "{}"}) {
    const std::string document = std::string("{\"protocolVersion\":") + text + R"(,"operation":"o","inputPath":"i"})";
    EXPECT_THAT(failureOf(document), HasSubstr("protocolVersion")) << text;
  }
}

TEST(RequestDecoder, NamesTheFirstOffendingKeyInDeclarationOrder) {
  const struct {
    const char* document;
    const char* key;
  } cases[] = {
      {"{}", "\"protocolVersion\""},
      {R"({"protocolVersion":null,"operation":3})", "\"protocolVersion\""},
      {R"({"protocolVersion":1})", "\"operation\""},
      {R"({"inputPath":"i","protocolVersion":1,"operation":null})", "\"operation\""},
      {R"({"protocolVersion":1,"operation":"inspect"})", "\"inputPath\""},
      {R"({"protocolVersion":99,"operation":"unknown"})", "\"inputPath\""},
      {R"({"quality":"0.5","outputPath":5,"protocolVersion":1,"operation":"o","inputPath":7})", "\"inputPath\""},
      {R"({"quality":"0.5","outputPath":5,"protocolVersion":1,"operation":"o","inputPath":"i"})", "\"outputPath\""},
      {R"({"metadataPolicy":7,"quality":"0.5","protocolVersion":1,"operation":"o","inputPath":"i"})", "\"quality\""},
  };
  for (const auto& c : cases) EXPECT_THAT(failureOf(c.document), HasSubstr(c.key)) << c.document;
}

TEST(RequestDecoder, RefusesOptionalValuesOfTheWrongType) {
  const struct {
    const char* member;
    const char* key;
  } cases[] = {
      {R"("outputPath":1)", "outputPath"},
      {R"("outputPath":["/x"])", "outputPath"},
      {R"("quality":"0.5")", "quality"},
      {R"("quality":true)", "quality"},
      {R"("quality":{})", "quality"},
      {R"("metadataPolicy":[])", "metadataPolicy"},
      {R"("metadataPolicy":true)", "metadataPolicy"},
      {R"("metadataPolicy":{"removeGPS":1})", "metadataPolicy.removeGPS"},
      {R"("metadataPolicy":{"removeGPS":"true"})", "metadataPolicy.removeGPS"},
      {R"("metadataPolicy":{"preserveColorProfile":{}})", "metadataPolicy.preserveColorProfile"},
      {R"("metadataPolicy":{"dropAuxiliaryImages":0})", "metadataPolicy.dropAuxiliaryImages"},
  };
  for (const auto& c : cases) EXPECT_THAT(failureOf(requestWith(c.member)), HasSubstr(c.key)) << c.member;
}

TEST(RequestDecoder, RefusesDocumentsThatAreNoJsonObject) {
  for (const char* document : {"",
                               " ",
                               "\n",
                               "null",
                               "[]",
                               "3",
                               "\"text\"",
                               "{",
                               "{}x",
                               "{]",
                               "{\"a\":}",
                               "\xff\xfe",
                               "{\"protocolVersion\":01}",
                               "[{}]",
                               "tru",
                               "1e999",
                               "{\"a\":1e999e5}",
                               "{\"a\":01e999}",
                               "{\"a\":-e999}",
                               "{\"a\":1.e999}",
                               "{\"a\":1e+}",
                               "{\"a\":1e999x}",
                               "{\"a\":1e999",
                               "{\"a\":\"1e999}"}) {
    EXPECT_NE(failureOf(document), "") << document;
  }
}

TEST(RequestDecoder, RefusesANulCharacterAnywhere) {
  const std::string request = requestWith("\"outputPath\":\"/b\"");
  ASSERT_EQ(failureOf(request), "");
  for (std::size_t at = 0; at <= request.size(); ++at) {
    std::string changed = request;
    changed.insert(at, 1, '\0');
    EXPECT_EQ(failureOf(changed), "the NUL character at byte " + std::to_string(at) + " is not JSON");
  }
  EXPECT_NE(failureOf(request + std::string("\0 more", 6)), "");
  EXPECT_NE(failureOf(std::string(1, '\0')), "");
}

/// Numbers that a JSON document may hold and no double can.
const std::string kOversized[] = {
    "1e999",  "-1e999", "1E+999", "0.1e99999", "1" + std::string(400, '0'), "-" + std::string(309, '9') + ".5",
    "1.8e308"};

TEST(RequestDecoder, NamesTheKeyOfAnOversizedNumber) {
  for (const std::string& number : kOversized) {
    SCOPED_TRACE(number);
    EXPECT_EQ(failureOf(requestWith("\"quality\":" + number)),
              "key \"quality\" must be a number within the range of a double");
    EXPECT_EQ(failureOf("{\"protocolVersion\":" + number + R"(,"operation":"o","inputPath":"i"})"),
              "key \"protocolVersion\" must be an integer of 64 bits, not a number that is none");
    EXPECT_EQ(failureOf(requestWith("\"outputPath\":" + number)), "key \"outputPath\" must be a string, not a number");
    EXPECT_EQ(failureOf(requestWith("\"metadataPolicy\":" + number)),
              "key \"metadataPolicy\" must be an object, not a number");
    EXPECT_EQ(failureOf(requestWith("\"metadataPolicy\":{\"removeXMP\":" + number + "}")),
              "key \"metadataPolicy.removeXMP\" must be a boolean, not a number");
  }
}

TEST(RequestDecoder, ReadsOverOversizedNumbersThatAreNoFieldsValue) {
  for (const std::string& number : kOversized) {
    for (const char* member :
         {R"("x":#)", R"("x":[#,[#],{"quality":#}])", R"("x":{"y":#,"quality":{"z":#}})",
          R"("metadataPolicy":{"x":#,"y":[#]})", R"("x":#,"quality":0.25,"y":#)", R"("x":"a\"#\\","y":#)"}) {
      std::string text = member;
      for (std::size_t at = 0; (at = text.find('#')) != std::string::npos;) text.replace(at, 1, number);
      EXPECT_EQ(failureOf(requestWith(text)), "") << text;
    }
  }
}

TEST(RequestDecoder, TakesOnlyTheOversizedOnesOfManyNumbersForOversized) {
  const HelperRequest request = decoded(
      R"({"a":[1,-2,3e5,"4",1e999],"quality":0.25,"b":-1e999,"protocolVersion":7,"operation":"5e999","inputPath":"i"})");
  EXPECT_EQ(request.quality, std::optional(0.25));
  EXPECT_EQ(request.protocolVersion, 7);
  EXPECT_EQ(request.operation, "5e999");
  EXPECT_EQ(failureOf(R"({"a":1,"protocolVersion":1,"quality":-1e999,"operation":"o","inputPath":"i","b":2})"),
            "key \"quality\" must be a number within the range of a double");
}

TEST(RequestDecoder, NamesTheFirstOffendingKeyAlsoBesideOversizedNumbers) {
  EXPECT_THAT(failureOf(R"({"quality":1e999,"protocolVersion":1,"operation":"o","inputPath":7})"),
              HasSubstr("\"inputPath\""));
  EXPECT_THAT(failureOf(requestWith(R"("quality":1e999,"metadataPolicy":{"removeGPS":1e999})")),
              HasSubstr("\"quality\""));
}

TEST(RequestDecoder, TakesTheLargestAndTheSmallestDoubles) {
  EXPECT_EQ(decoded(requestWith("\"quality\":1.7976931348623157e308")).quality, std::optional(1.7976931348623157e308));
  EXPECT_EQ(decoded(requestWith("\"quality\":1e-999")).quality, std::optional(0.0));
  EXPECT_EQ(decoded(requestWith("\"quality\":99999999999999999999")).quality, std::optional(1e20));
}

TEST(RequestDecoder, TellsWhereADocumentWithOversizedNumbersIsNoJson) {
  const std::string oversized = failureOf(R"({"a":1e999,"b":[})"), plain = failureOf(R"({"a":12345,"b":[})");
  EXPECT_THAT(plain, HasSubstr("column 17"));
  EXPECT_EQ(oversized, plain);
}

TEST(RequestDecoder, RefusesTextThatIsNotUnicode) {
  EXPECT_NE(failureOf(requestWith("\"outputPath\":\"\xc3\x28\"")), "");
  EXPECT_NE(failureOf(requestWith(R"("outputPath":"\ud800")")), "");
}

TEST(RequestDecoder, KeepsUnicodeAndEscapesInText) {
  const HelperRequest request = decoded(requestWith(R"("outputPath":"\/tmp\/\u00e4\u0000\ud83d\ude00")"));
  EXPECT_EQ(request.outputPath, std::optional(std::string("/tmp/ä\0😀", 12)));
}

TEST(RequestDecoder, RefusesDeepNestingWithoutRunningOutOfStack) {
  EXPECT_THAT(failureOf(std::string(8'000'000, '[')), HasSubstr("nested"));
  const std::string deep = std::string(500, '[') + std::string(500, ']');
  EXPECT_EQ(failureOf(requestWith("\"x\":" + deep)), "");
}

TEST(RequestDecoder, LetsTheLastOfTwoEqualKeysCount) {
  EXPECT_EQ(decoded(requestWith(R"("inputPath":"/b.heic")")).inputPath, "/b.heic");
}

}  // namespace
}  // namespace quellor
