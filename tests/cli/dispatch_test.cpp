#include "cli/dispatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/fake_platform.h"
#include "tests/support/writing_request.h"

namespace quellor {
namespace {

using test_support::FakeImage;
using test_support::FakePlatform;
using ::testing::Contains;
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

TEST(Dispatch, CallsTheDriverThatTheOperationNames) {
  const struct {
    const char* operation;
    const char* writes;
  } cases[] = {{"encode-candidate", "add image"},
               {"export-storage-pixels", "write /out"},
               {"rewrite-from-source", "add image from source"},
               {"rewrite-decoded-image", "add image"}};
  for (const auto& c : cases) {
    FakePlatform platform;
    platform.add("/in.heic", test_support::smallPhoto());
    HelperRequest request = requestFor(c.operation);
    request.outputPath = "/out";
    request.quality = 0.5;
    const auto [response, status] = handleRequest(request, platform.services());
    EXPECT_EQ(status, 0) << c.operation;
    EXPECT_TRUE(response.success) << c.operation;
    EXPECT_EQ(response.operation, c.operation);
    EXPECT_THAT(platform.calls, Contains(c.writes)) << c.operation;
    EXPECT_EQ(response.quality.has_value(), c.operation == std::string("encode-candidate"));
  }
}

TEST(Dispatch, PassesOnWhatTheWritingDriversRefuse) {
  const struct {
    const char* operation;
    const char* message;
  } cases[] = {{"encode-candidate", "outputPath is required for encode-candidate"},
               {"export-storage-pixels", "outputPath (raw file) is required"},
               {"rewrite-from-source", "outputPath is required for rewrite operations"},
               {"rewrite-decoded-image", "outputPath is required for rewrite operations"}};
  for (const auto& c : cases) {
    FakePlatform platform;
    HelperRequest request = requestFor(c.operation);
    request.quality = 0.5;
    const auto [response, status] = handleRequest(request, platform.services());
    EXPECT_EQ(status, 1);
    ASSERT_TRUE(response.error) << c.operation;
    EXPECT_EQ(response.error->message, c.message);
  }
}

}  // namespace
}  // namespace quellor
