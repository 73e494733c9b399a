#include "cli/dispatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"

namespace quellor {
namespace {

using test_support::FakeImage;
using test_support::FakePlatform;
using ::testing::IsEmpty;

HelperRequest requestFor(const std::string& operation, std::int64_t version = 1) {
  HelperRequest request;
  request.protocolVersion = version;
  request.operation = operation;
  request.inputPath = "/in.heic";
  return request;
}

TEST(Dispatch, RefusesEveryVersionButTheSupportedOneWithoutLookingFurther) {
  for (const std::int64_t version : {std::int64_t{2}, std::int64_t{0}, std::int64_t{-1}, INT64_MAX, INT64_MIN}) {
    FakePlatform platform;
    const auto [response, status] = handleRequest(requestFor("no such operation", version), platform.services());
    EXPECT_EQ(status, 1);
    ASSERT_TRUE(response.error);
    EXPECT_EQ(response.error->code, "unsupported_protocol_version");
    EXPECT_EQ(response.error->message, "protocolVersion " + std::to_string(version) + " not supported");
    EXPECT_EQ(response.operation, "no such operation");
    EXPECT_EQ(response.protocolVersion, 1);
    EXPECT_THAT(platform.calls, IsEmpty());
  }
}

TEST(Dispatch, MatchesOperationNamesExactly) {
  for (const char* name : {"Inspect", "inspect ", " inspect", "", "INSPECT", "rewrite", "encode_candidate"}) {
    FakePlatform platform;
    const auto [response, status] = handleRequest(requestFor(name), platform.services());
    EXPECT_EQ(status, 1);
    ASSERT_TRUE(response.error) << name;
    EXPECT_EQ(response.error->code, "unsupported_operation");
    EXPECT_EQ(response.error->message, std::string("operation ") + name + " not supported");
    EXPECT_EQ(response.operation, name);
    EXPECT_THAT(platform.calls, IsEmpty());
  }
}

TEST(Dispatch, WritesNothingButTheErrorIntoItsOwnFailures) {
  FakePlatform platform;
  HelperRequest request = requestFor("unknown");
  request.quality = 0.5;
  const auto [response, status] = handleRequest(request, platform.services());
  EXPECT_FALSE(response.success);
  EXPECT_FALSE(response.quality || response.input || response.output || response.storageExport ||
               response.removedItems || response.warnings);
  EXPECT_GE(response.elapsedMilliseconds, 0);
}

TEST(Dispatch, GivesStatus0ToASuccessfulDriver) {
  FakePlatform platform;
  platform.add("/in.heic", FakeImage{});
  const auto [response, status] = handleRequest(requestFor("inspect"), platform.services());
  EXPECT_TRUE(response.success);
  EXPECT_EQ(status, 0);
}

TEST(Dispatch, PassesOnAFailedDriversResponseWithStatus1) {
  FakePlatform platform;
  const auto [response, status] = handleRequest(requestFor("inspect"), platform.services());
  EXPECT_EQ(status, 1);
  ASSERT_TRUE(response.error);
  EXPECT_EQ(response.error->code, "input_not_found");
}

// Goes away operation by operation, as their drivers arrive.
TEST(Dispatch, AnswersTheOperationsThatWriteAsUnsupportedForTheTimeBeing) {
  for (const char* name :
       {"encode-candidate", "export-storage-pixels", "rewrite-from-source", "rewrite-decoded-image"}) {
    FakePlatform platform;
    const auto [response, status] = handleRequest(requestFor(name), platform.services());
    EXPECT_EQ(status, 1);
    ASSERT_TRUE(response.error) << name;
    EXPECT_EQ(response.error->code, "unsupported_operation");
    EXPECT_THAT(platform.calls, IsEmpty());
  }
}

}  // namespace
}  // namespace quellor
