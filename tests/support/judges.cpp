#include "tests/support/judges.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include <gtest/gtest.h>

namespace quellor::test_support {
namespace {

bool isInContinuousIntegration() {
  const char* const value = std::getenv("CI");
  return value != nullptr && *value != '\0' && std::string_view(value) != "false";
}

void endWithout(const std::string& name) {
  const std::string reason = "no " + name + " to judge; tools/set-up test installs it";
  if (isInContinuousIntegration()) FAIL() << reason;
  GTEST_SKIP() << reason;
}

}  // namespace

std::filesystem::path judge(const std::string& name) {
  const char* const path = std::getenv("PATH");
  std::string rest = "/usr/bin:" + std::string(path == nullptr ? "" : path);
  while (!rest.empty()) {
    const std::size_t colon = std::min(rest.find(':'), rest.size());
    const std::filesystem::path candidate = std::filesystem::path(rest.substr(0, colon)) / name;
    if (colon != 0 && std::filesystem::exists(candidate)) return candidate;
    rest.erase(0, colon + 1);
  }
  return {};
}

bool requireJudge(const std::string& name) {
  if (!judge(name).empty()) return true;
  endWithout(name);
  return false;
}

}  // namespace quellor::test_support
