#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace quellor::test_support {

/// How far two pictures are apart, in steps of 8 bits.
class Differences {
 public:
  void add(std::uint8_t sample, double expected) {
    const double difference = std::abs(sample - expected);
    largest_ = std::max(largest_, difference);
    sum_ += difference;
    ++count_;
  }

  [[nodiscard]] double largest() const { return largest_; }

  /// Makes properties of the running test of them.
  void record(const std::string& form) const {
    const double mean = count_ == 0 ? 0 : sum_ / static_cast<double>(count_);
    testing::Test::RecordProperty("form", form);
    testing::Test::RecordProperty("largest", std::to_string(largest_));
    testing::Test::RecordProperty("mean", std::to_string(mean));
    std::printf("%-32s largest %.3f mean %.4f\n", form.c_str(), largest_, mean);
  }

 private:
  double largest_ = 0;
  double sum_ = 0;
  std::uint64_t count_ = 0;
};

}  // namespace quellor::test_support
