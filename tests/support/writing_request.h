#pragma once
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "protocol/records.h"
#include "tests/support/fake_platform.h"

/// What the tests of the drivers that write a file have in common.
namespace quellor::test_support {

inline constexpr const char* kInputPath = "/in/a.heic";
inline constexpr const char* kOutputPath = "/out/b.heic";

inline HelperRequest writingRequest(const char* operation, std::optional<double> quality = std::nullopt) {
  HelperRequest request;
  request.protocolVersion = 1;
  request.operation = operation;
  request.inputPath = kInputPath;
  request.outputPath = kOutputPath;
  request.quality = quality;
  return request;
}

/// Two by one pixels of 8 bits in sRGB.
inline FakeImage smallPhoto() {
  FakeImage fake;
  fake.image->raster.width = 2;
  fake.image->raster.height = 1;
  fake.image->colorSpace =
      ColorSpace(ColorModel::rgb, "kCGColorSpaceSRGB", std::make_shared<const Bytes>(Bytes{1, 2, 3}), false);
  return fake;
}

/// Expects the failure response of a driver: the error, and nothing of what was found out before.
inline void expectFailed(const HelperResponse& response, const std::string& code, const std::string& message) {
  EXPECT_FALSE(response.success);
  EXPECT_EQ(response.protocolVersion, 1);
  ASSERT_TRUE(response.error) << "expected " << code << ": " << message;
  EXPECT_EQ(response.error->code, code);
  EXPECT_EQ(response.error->message, message);
  EXPECT_FALSE(response.input || response.output || response.storageExport || response.removedItems ||
               response.warnings);
  EXPECT_GE(response.elapsedMilliseconds, 0);
}

/// Expects that only the input is there.
inline void expectOnlyTheInputLeft(const FakePlatform& platform) {
  EXPECT_EQ(platform.files.files.size(), 1u);
  EXPECT_TRUE(platform.files.files.contains(kInputPath));
}

}  // namespace quellor::test_support
