#pragma once
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/format_samples.h"
#include "tests/support/tiff_fixture.h"

namespace quellor {

// Values of the tags PhotometricInterpretation (262) and ExtraSamples (338).
inline constexpr std::uint16_t kMinIsWhite = 0;
inline constexpr std::uint16_t kMinIsBlack = 1;
inline constexpr std::uint16_t kRgb = 2;
inline constexpr std::uint16_t kPalette = 3;
inline constexpr std::uint16_t kSeparated = 5;
inline constexpr std::uint16_t kYCbCr = 6;
inline constexpr std::uint32_t kUnspecified = 0;
inline constexpr std::uint32_t kAssociated = 1;
inline constexpr std::uint32_t kUnassociated = 2;

class TiffFormat : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(format_, nullptr); }

  Outcome<ImageFacts> describe(const Bytes& file) const { return format_->describe(file); }
  Outcome<Raster> decode(const Bytes& file) const { return format_->decode(file); }

 private:
  const ImageFormat* format_ = &test_support::imageFormat("TIFF");
};

/// A picture whose samples all differ from their neighbours and use every byte of a sample.
inline test_support::TiffPicture picture(std::uint16_t photometric, std::uint16_t samples, std::uint16_t bits,
                                         std::uint32_t width, std::uint32_t height) {
  test_support::TiffPicture result{width, height, bits, samples, photometric, {}, false, 0, 2, {}};
  const std::uint64_t limit = std::uint64_t{1} << bits;
  for (std::uint64_t i = 0; i < std::uint64_t{width} * height * samples; ++i) {
    result.values.push_back(static_cast<std::uint32_t>((i * 40503 + 12345) % limit));
  }
  return result;
}

inline std::vector<int> valuesOf(const test_support::TiffPicture& source) {
  return {source.values.begin(), source.values.end()};
}

}  // namespace quellor
