#include "protocol/driver_response.h"

#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "platform/described_error.h"

namespace quellor {
namespace {

HelperRequest requestNamed(const char* operation) {
  HelperRequest request;
  request.operation = operation;
  request.quality = 0.5;
  return request;
}

TEST(Respond, CompletesTheResponseOfASuccessfulPipeline) {
  const HelperResponse response = respond(requestNamed("any/thing"), wallClockNow() - 5.0, [] {
    HelperResponse found;
    found.warnings = {"w"};
    return found;
  });
  EXPECT_TRUE(response.success);
  EXPECT_EQ(response.protocolVersion, 1);
  EXPECT_EQ(response.operation, "any/thing");
  EXPECT_EQ(response.warnings, std::vector<std::string>{"w"});
  EXPECT_FALSE(response.error || response.quality);
  EXPECT_GE(response.elapsedMilliseconds, 5000);
  EXPECT_LT(response.elapsedMilliseconds, 60000);
}

TEST(Respond, AnswersAHelperFailureWithItsCodeAndMessage) {
  const HelperResponse response = respond(requestNamed("o"), wallClockNow() - 5.0,
                                          []() -> HelperResponse { throw HelperFailure("some_code", "some message"); });
  EXPECT_FALSE(response.success);
  EXPECT_EQ(response.operation, "o");
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, "some_code");
  EXPECT_EQ(response.error->message, "some message");
  EXPECT_GE(response.elapsedMilliseconds, 5000);
}

TEST(Respond, AnswersAnyOtherErrorAsInternalWithItsDescription) {
  const HelperResponse response = respond(requestNamed("o"), wallClockNow(),
                                          []() -> HelperResponse { throw std::runtime_error("the disk is on fire"); });
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, "internal_error");
  EXPECT_EQ(response.error->message, "the disk is on fire");
  EXPECT_EQ(respond(requestNamed("o"), wallClockNow(), []() -> HelperResponse { throw std::bad_alloc(); }).error->code,
            "internal_error");
}

TEST(Respond, GivesADescriptionAlsoBehindANulCharacter) {
  const std::string description("The file \0 is \0", 16);
  const auto failWith = [&]() -> HelperResponse { throw DescribedError(description); };
  EXPECT_EQ(respond(requestNamed("o"), wallClockNow(), failWith).error->message, description);
}

}  // namespace
}  // namespace quellor
