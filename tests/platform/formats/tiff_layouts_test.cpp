#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/formats/tiff_format_fixture.h"

namespace quellor {
namespace {

using test_support::samplesOf;
using test_support::TiffEntry;
using test_support::tiffFile;
using test_support::TiffPage;
using test_support::tiffPage;
using test_support::TiffPicture;
using test_support::TiffType;

constexpr std::uint16_t kBitsPerSample = 258;
constexpr std::uint16_t kCompression = 259;
constexpr std::uint16_t kPhotometric = 262;
constexpr std::uint16_t kColorMap = 320;
constexpr std::uint16_t kInkSet = 332;
constexpr std::uint16_t kNumberOfInks = 334;
constexpr std::uint16_t kSampleFormat = 339;
constexpr std::uint16_t kYCbCrSubsampling = 530;

class TiffLayouts : public TiffFormat {};

TEST_F(TiffLayouts, OfOtherDepthsAreDescribedButNotDecoded) {
  for (const std::uint16_t photometric : {kMinIsWhite, kMinIsBlack, kRgb}) {
    const std::uint16_t samples = photometric == kRgb ? 3 : 1;
    for (const int bits : {3, 5, 10, 12, 14, 24, 32}) {
      const Bytes file = tiffFile({tiffPage(picture(photometric, samples, static_cast<std::uint16_t>(bits), 6, 5))});
      const auto facts = describe(file);
      ASSERT_TRUE(facts);
      EXPECT_EQ(facts->bitsPerComponent, std::max(bits, 8));
      EXPECT_FALSE(decode(file)) << "photometric " << photometric << ", bits " << bits;
    }
  }
  for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{2}, std::uint16_t{4}}) {
    EXPECT_FALSE(decode(tiffFile({tiffPage(picture(kRgb, 3, bits, 6, 5))}))) << bits;
  }
}

TEST_F(TiffLayouts, WithoutACertainMeaningAreNotDecoded) {
  const TiffPicture grey = picture(kMinIsBlack, 1, 8, 6, 5);
  const TiffPicture rgb = picture(kRgb, 3, 8, 6, 5);
  const TiffPicture rgb16 = picture(kRgb, 3, 16, 6, 5);
  const TiffPicture cmyk = picture(kSeparated, 4, 8, 6, 5);
  const auto photometric = [](std::uint32_t value) { return TiffEntry{kPhotometric, TiffType::shortInteger, {value}}; };
  const auto compression = [](std::uint32_t value) { return TiffEntry{kCompression, TiffType::shortInteger, {value}}; };
  struct Row {
    const char* what;
    TiffPicture picture;  // one that is decoded without the entry
    TiffEntry entry;
  };
  const Row rows[] = {
      {"L*a*b*", rgb, photometric(8)},
      {"L*a*b* of 16 bits", rgb16, photometric(8)},
      {"L* alone", grey, photometric(8)},
      {"L*a*b* by the ICC's coding", rgb, photometric(9)},
      {"L*a*b* by the ITU's coding", rgb, photometric(10)},
      {"a transparency mask", grey, photometric(4)},
      {"a palette without colours", grey, photometric(3)},
      {"logarithmic luminance", grey, photometric(32844)},
      {"logarithmic luminance and chromaticity", rgb, photometric(32845)},
      {"an unknown model", rgb, photometric(777)},
      {"YCbCr of 16 bits", rgb16, photometric(6)},
      {"YCbCr of one sample", grey, photometric(6)},
      {"inks other than CMYK", cmyk, {kInkSet, TiffType::shortInteger, {2}}},
      {"five inks", cmyk, {kNumberOfInks, TiffType::shortInteger, {5}}},
      {"old-style JPEG", rgb, compression(6)},
      {"JBIG", grey, compression(34661)},
      {"an unknown compression", grey, compression(4711)},
      {"signed samples", grey, {kSampleFormat, TiffType::shortInteger, {2}}},
      {"floating-point samples", rgb16, {kSampleFormat, TiffType::shortInteger, {3, 3, 3}}},
      {"complex samples", rgb16, {kSampleFormat, TiffType::shortInteger, {5, 5, 5}}},
      {"one signed sample of three", rgb, {kSampleFormat, TiffType::shortInteger, {1, 1, 2}}},
      {"depths that differ", rgb, {kBitsPerSample, TiffType::shortInteger, {5, 6, 5}}},
      {"depths that differ, the first one good", rgb, {kBitsPerSample, TiffType::shortInteger, {8, 8, 16}}},
  };
  for (const Row& row : rows) {
    for (const bool separate : {false, true}) {
      TiffPicture source = row.picture;
      source.separate = separate;
      TiffPage page = tiffPage(source);
      ASSERT_TRUE(decode(tiffFile({page}))) << row.what;
      EXPECT_FALSE(decode(tiffFile({page.set(row.entry)}))) << row.what << ", separate " << separate;
    }
  }
}

TEST_F(TiffLayouts, WithoutAColorModelAreNotDecoded) {
  TiffPage page = tiffPage(picture(kMinIsBlack, 1, 1, 6, 5));
  ASSERT_TRUE(decode(tiffFile({page})));
  const auto model = [](const TiffEntry& entry) { return entry.tag == kPhotometric; };
  page.entries.erase(std::find_if(page.entries.begin(), page.entries.end(), model));
  EXPECT_FALSE(decode(tiffFile({page}))) << "black may be 0 or 1";
}

TEST_F(TiffLayouts, WithFurtherInksAreNotDecoded) {
  const auto withExtra = [](std::uint16_t samples, std::vector<std::uint32_t> extra) {
    TiffPicture source = picture(kSeparated, samples, 8, 6, 5);
    source.extraSamples = std::move(extra);
    return tiffFile({tiffPage(source)});
  };
  EXPECT_TRUE(decode(withExtra(4, {})));
  EXPECT_TRUE(decode(withExtra(5, {kUnassociated})));
  EXPECT_FALSE(decode(withExtra(5, {}))) << "undeclared";
  EXPECT_FALSE(decode(withExtra(5, {kUnspecified}))) << "declared, with no meaning";
  EXPECT_FALSE(decode(withExtra(6, {kUnassociated, kUnspecified})));
  EXPECT_FALSE(decode(withExtra(3, {}))) << "one missing";
}

TEST_F(TiffLayouts, OfPalettesWithFurtherSamplesAreNotDecoded) {
  const TiffEntry map{kColorMap, TiffType::shortInteger, std::vector<std::uint32_t>(768, 257)};
  for (const std::uint32_t extra : {kUnspecified, kAssociated, kUnassociated}) {
    TiffPicture source = picture(kPalette, 2, 8, 6, 5);
    source.extraSamples = {extra};
    EXPECT_FALSE(decode(tiffFile({tiffPage(source).set(map)}))) << extra;
  }
  EXPECT_TRUE(decode(tiffFile({tiffPage(picture(kPalette, 1, 8, 6, 5)).set(map)})));
  EXPECT_FALSE(decode(tiffFile({tiffPage(picture(kPalette, 1, 16, 6, 5)).set(map)})));
  EXPECT_FALSE(decode(tiffFile({tiffPage(picture(kPalette, 1, 8, 6, 5))}))) << "no colours";
  EXPECT_FALSE(decode(tiffFile({tiffPage(picture(kPalette, 3, 8, 6, 5))}))) << "no colours, three samples";
}

/// The equations that YCbCr has when the file gives no others (TIFF 6.0, section 21; ITU-R BT.601).
std::vector<int> rgbOf(double y, double cb, double cr) {
  const auto clamped = [](double value) { return static_cast<int>(std::lround(std::clamp(value, 0.0, 255.0))); };
  return {clamped(y + 1.402 * (cr - 128)), clamped(y - 0.344136 * (cb - 128) - 0.714136 * (cr - 128)),
          clamped(y + 1.772 * (cb - 128))};
}

MATCHER(DiffersByOneAtMost, "") { return std::abs(std::get<0>(arg) - std::get<1>(arg)) <= 1; }

TEST_F(TiffLayouts, OfUncompressedYCbCrBecomeRgb) {
  for (const std::uint32_t tileSize : {0U, 16U}) {
    TiffPicture source = picture(kYCbCr, 3, 8, 33, 19);
    source.tileSize = tileSize;
    std::vector<int> expected;
    for (std::size_t i = 0; i < source.values.size(); i += 3) {
      const std::vector<int> rgb = rgbOf(source.values[i], source.values[i + 1], source.values[i + 2]);
      expected.insert(expected.end(), rgb.begin(), rgb.end());
    }
    const TiffPage page = tiffPage(source).set({kYCbCrSubsampling, TiffType::shortInteger, {1, 1}});
    const auto raster = decode(tiffFile({page}));
    ASSERT_TRUE(raster) << tileSize;
    EXPECT_THAT(samplesOf(*raster), testing::Pointwise(DiffersByOneAtMost(), expected)) << tileSize;
  }
}

TEST_F(TiffLayouts, OfSubsampledYCbCrKeepEverySampleInItsPlace) {
  constexpr std::uint32_t kWidth = 7;
  constexpr std::uint32_t kHeight = 5;
  const std::pair<std::uint32_t, std::uint32_t> subsamplings[] = {{2, 1}, {2, 2}, {4, 1}, {4, 2}, {4, 4}, {1, 2}};
  for (const auto& [across, down] : subsamplings) {
    TiffPicture source = picture(kYCbCr, 3, 8, kWidth, kHeight);
    source.rowsPerStrip = 8;
    TiffPage page = tiffPage(source).set({kYCbCrSubsampling, TiffType::shortInteger, {across, down}});
    // Blocks of luma samples, row after row, each with its two colour differences behind it.
    std::vector<int> expected(std::size_t{kWidth} * kHeight * 3);
    Bytes strip;
    for (std::uint32_t top = 0; top < kHeight; top += down) {
      for (std::uint32_t left = 0; left < kWidth; left += across) {
        const auto cb = static_cast<std::uint8_t>(60 + left * 20);
        const auto cr = static_cast<std::uint8_t>(200 - top * 25);
        for (std::uint32_t y = top; y < top + down; ++y) {
          for (std::uint32_t x = left; x < left + across; ++x) {
            const auto luma = static_cast<std::uint8_t>(40 + y * 30 + x * 7);
            strip.push_back(luma);
            if (x >= kWidth || y >= kHeight) continue;
            const std::vector<int> rgb = rgbOf(luma, cb, cr);
            std::copy(rgb.begin(), rgb.end(), expected.begin() + static_cast<std::ptrdiff_t>((y * kWidth + x) * 3));
          }
        }
        strip.insert(strip.end(), {cb, cr});
      }
    }
    page.chunks = {strip};
    const auto raster = decode(tiffFile({page}));
    ASSERT_TRUE(raster) << across << "x" << down;
    EXPECT_THAT(samplesOf(*raster), testing::Pointwise(DiffersByOneAtMost(), expected)) << across << "x" << down;
  }
}

TEST_F(TiffLayouts, OfYCbCrInSeparatePlanesAreDecodedRightOrNotAtAll) {
  TiffPicture source = picture(kYCbCr, 3, 8, 7, 5);
  source.separate = true;
  std::vector<int> expected;
  for (std::size_t i = 0; i < source.values.size(); i += 3) {
    const std::vector<int> rgb = rgbOf(source.values[i], source.values[i + 1], source.values[i + 2]);
    expected.insert(expected.end(), rgb.begin(), rgb.end());
  }
  TiffPage page = tiffPage(source).set({kYCbCrSubsampling, TiffType::shortInteger, {1, 1}});
  const auto raster = decode(tiffFile({page}));
  ASSERT_TRUE(raster);
  EXPECT_THAT(samplesOf(*raster), testing::Pointwise(DiffersByOneAtMost(), expected));
  page.set({kYCbCrSubsampling, TiffType::shortInteger, {2, 2}});
  EXPECT_FALSE(decode(tiffFile({page})));
}

}  // namespace
}  // namespace quellor
