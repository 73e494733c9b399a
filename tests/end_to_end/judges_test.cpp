#include "tests/support/judges.h"

#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace quellor {
namespace {

/// Sets the environment's CI, and puts back what was there.
class ContinuousIntegration {
 public:
  ContinuousIntegration() {
    if (const char* const value = std::getenv("CI")) before_ = value;
    setenv("CI", "true", 1);
  }
  ContinuousIntegration(const ContinuousIntegration&) = delete;
  ContinuousIntegration& operator=(const ContinuousIntegration&) = delete;
  ~ContinuousIntegration() {
    if (before_) setenv("CI", before_->c_str(), 1);
    if (!before_) unsetenv("CI");
  }

 private:
  std::optional<std::string> before_;
};

TEST(Judge, IsFoundWhereItIsInstalled) {
  EXPECT_EQ(test_support::judge("env"), "/usr/bin/env");
  EXPECT_TRUE(test_support::requireJudge("env"));
}

TEST(Judge, ThatIsMissingFailsTheTestInContinuousIntegration) {
  const ContinuousIntegration set;
  EXPECT_EQ(test_support::judge("no-such-judge"), "");
  static bool found = true;
  EXPECT_FATAL_FAILURE(found = test_support::requireJudge("no-such-judge"), "no no-such-judge to judge");
  EXPECT_FALSE(found);
}

}  // namespace
}  // namespace quellor
