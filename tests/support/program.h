#pragma once
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/process.h"

/// The built program, run the way its caller runs it.
namespace quellor::test_support {

inline ProcessResult runWithInput(std::string standardInput, ProcessOptions options = {}) {
  options.standardInput = std::move(standardInput);
  return runProcess(QUELLOR_PROGRAM, options);
}

inline ProcessResult runWithRequest(const nlohmann::json& request, ProcessOptions options = {}) {
  return runWithInput(request.dump(), std::move(options));
}

/// What the end of a run looked like, for failure messages.
inline std::string describe(const ProcessResult& run) {
  return (run.timedOut ? "killed at the time limit" : "ended") + std::string(", status ") +
         (run.exitStatus ? std::to_string(*run.exitStatus) : "none") + ", signal " +
         (run.signal ? std::to_string(*run.signal) : "none") + "\nstdout: " + run.standardOutput.substr(0, 2000) +
         "\nstderr: " + run.standardError.substr(0, 2000);
}

/// The one response of a run, or null after a test failure: one line, no word on standard error, a status that
/// agrees with `success`. With sanitizers standard error stays theirs, and what libraries print gets there, too.
inline nlohmann::json responseOf(const ProcessResult& run) {
  const std::string& text = run.standardOutput;
#ifdef QUELLOR_SANITIZED
  EXPECT_EQ(run.standardError.find("Sanitizer"), std::string::npos) << describe(run);
#else
  EXPECT_EQ(run.standardError, "");
#endif
  EXPECT_TRUE(!text.empty() && text.find('\n') == text.size() - 1) << "not one line\n" << describe(run);
  nlohmann::json response = nlohmann::json::parse(text, nullptr, false);
  if (!response.is_object() || !response.contains("success") || !response["success"].is_boolean()) {
    ADD_FAILURE() << "not a response\n" << describe(run);
    return nullptr;
  }
  EXPECT_EQ(run.exitStatus, response["success"].get<bool>() ? 0 : 1) << describe(run);
  return response;
}

/// The response to a request that the program must be able to decode.
inline nlohmann::json ask(const nlohmann::json& request, ProcessOptions options = {}) {
  return responseOf(runWithRequest(request, std::move(options)));
}

/// Expects a failure response with exactly the keys that one has.
inline void expectFailure(const nlohmann::json& response, const std::string& code, const std::string& message) {
  ASSERT_TRUE(response.is_object());
  EXPECT_EQ(response.size(), 5U) << response;
  EXPECT_EQ(response.value("success", true), false) << response;
  EXPECT_EQ(response.value("protocolVersion", 0), 1) << response;
  EXPECT_TRUE(response.contains("operation") && response["operation"].is_string()) << response;
  EXPECT_TRUE(response.contains("elapsedMilliseconds") && response["elapsedMilliseconds"].is_number_integer())
      << response;
  EXPECT_EQ(response.value("error", nlohmann::json()), nlohmann::json({{"code", code}, {"message", message}}));
}

inline void expectNoImageSource(const nlohmann::json& response) {
  expectFailure(response, "image_source_create_failed", "CGImageSourceCreateWithURL failed");
}

inline void expectNoPrimaryImage(const nlohmann::json& response) {
  expectFailure(response, "no_primary_image", "CGImageSourceCreateImageAtIndex failed at index 0");
}

inline void expectInputNotFound(const nlohmann::json& response) {
  expectFailure(response, "input_not_found", "input file not found");
}

}  // namespace quellor::test_support
