#pragma once
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>

#include "tests/support/program.h"
#include "tests/support/stored_pixels.h"
#include "tests/support/writing_operations.h"

/// Pictures of known samples, written by the built program and looked at again.
namespace quellor::test_support {

/// A file with these bytes, written by an operation.
class WrittenImage {
 public:
  WrittenImage(const std::string& operation, ByteView input, double quality = 1.0,
               const nlohmann::json& policy = nullptr) {
    const auto in = folder_.write("in", {reinterpret_cast<const char*>(input.data()), input.size()});
    nlohmann::json wanted = writingRequest(operation, in, path());
    wanted["quality"] = quality;
    if (!policy.is_null()) wanted["metadataPolicy"] = policy;
    answer_ = ask(wanted);
  }

  [[nodiscard]] const nlohmann::json& answer() const { return answer_; }
  [[nodiscard]] bool written() const { return answer_.is_object() && answer_.value("success", false); }
  [[nodiscard]] std::filesystem::path path() const { return folder_.path() / "out.heic"; }
  [[nodiscard]] Bytes bytes() const {
    const std::string file = contentsOf(path());
    return {file.begin(), file.end()};
  }

 private:
  TemporaryDirectory folder_;
  nlohmann::json answer_;
};

/// The peak signal-to-noise ratio of red, green and blue in decibels; infinite for equal pictures, negative for
/// pictures of different sizes.
inline double psnr(const StoredPixels& a, const StoredPixels& b) {
  if (!a.written() || !b.written() || a.pixels().size() != b.pixels().size()) return -1;
  double sum = 0;
  for (std::size_t i = 0; i < a.pixels().size(); ++i) {
    const double difference = a.pixels()[i] - b.pixels()[i];
    sum += difference * difference;
  }
  const double samples = static_cast<double>(a.pixels().size()) * 3 / 4;  // the fourth byte is always the same
  return sum == 0 ? std::numeric_limits<double>::infinity() : 10 * std::log10(255.0 * 255.0 * samples / sum);
}

}  // namespace quellor::test_support
