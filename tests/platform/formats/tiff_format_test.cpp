#include <algorithm>
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/formats/tiff_format_fixture.h"

namespace quellor {
namespace {

using test_support::samplesOf;
using test_support::tiffFile;
using test_support::TiffForm;
using test_support::TiffPage;
using test_support::tiffPage;
using test_support::TiffPicture;
using test_support::TiffType;

struct Model {
  std::uint16_t photometric;
  std::uint16_t colors;
  ColorModel model;
};
constexpr Model kModels[] = {
    {kMinIsBlack, 1, ColorModel::grey}, {kRgb, 3, ColorModel::rgb}, {kSeparated, 4, ColorModel::cmyk}};

struct Size {
  std::uint32_t width;
  std::uint32_t height;
};
constexpr Size kSizes[] = {{1, 1}, {3, 5}, {17, 9}, {33, 40}};

TEST_F(TiffFormat, GivesEverySampleOfEveryLayoutAsCoded) {
  for (const Model& model : kModels) {
    for (const Size& size : kSizes) {
      for (int variant = 0; variant < 48; ++variant) {
        const std::uint16_t bits = variant % 2 == 0 ? 8 : 16;
        const auto alpha = static_cast<std::uint32_t>(variant / 2 % 3);
        const TiffForm form{.bigEndian = variant / 6 % 2 == 1};
        const auto samples = static_cast<std::uint16_t>(model.colors + (alpha == 0 ? 0 : 1));
        TiffPicture source = picture(model.photometric, samples, bits, size.width, size.height);
        source.separate = variant / 12 % 2 == 1;
        source.tileSize = variant / 24 == 1 ? 16 : 0;
        if (alpha != 0) source.extraSamples = {alpha};
        const Bytes file = tiffFile({tiffPage(source, form)}, form);
        SCOPED_TRACE(testing::Message() << "colours " << model.colors << " width " << size.width << " variant "
                                        << variant);

        const auto facts = describe(file);
        ASSERT_TRUE(facts);
        EXPECT_EQ(facts->imageCount, 1U);
        EXPECT_EQ(facts->width, size.width);
        EXPECT_EQ(facts->height, size.height);
        EXPECT_EQ(facts->bitsPerComponent, bits);
        EXPECT_EQ(facts->colorModel, model.model);
        EXPECT_EQ(facts->hasAlpha, alpha != 0);
        const auto raster = decode(file);
        ASSERT_TRUE(raster);
        EXPECT_EQ(raster->width, size.width);
        EXPECT_EQ(raster->height, size.height);
        EXPECT_EQ(raster->bitsPerComponent, bits);
        EXPECT_EQ(raster->components.size(), model.colors);
        EXPECT_EQ(raster->alpha.has_value(), alpha != 0);
        EXPECT_EQ(raster->premultiplied, alpha == kAssociated);
        EXPECT_EQ(samplesOf(*raster), valuesOf(source));
      }
    }
  }
}

TEST_F(TiffFormat, TurnsMinIsWhiteAround) {
  for (const std::uint16_t bits : {std::uint16_t{8}, std::uint16_t{16}}) {
    const TiffPicture source = picture(kMinIsWhite, 1, bits, 17, 9);
    std::vector<int> expected = valuesOf(source);
    for (int& value : expected) value = (1 << bits) - 1 - value;
    const auto raster = decode(tiffFile({tiffPage(source)}));
    ASSERT_TRUE(raster);
    EXPECT_EQ(samplesOf(*raster), expected);
  }
}

TEST_F(TiffFormat, TurnsMinIsWhiteAroundButNotItsAlpha) {
  TiffPicture source = picture(kMinIsWhite, 2, 8, 2, 1);
  source.extraSamples = {kUnassociated};
  source.values = {0, 10, 255, 20};
  const auto raster = decode(tiffFile({tiffPage(source)}));
  ASSERT_TRUE(raster);
  EXPECT_EQ(samplesOf(*raster), (std::vector<int>{255, 10, 0, 20}));
}

TEST_F(TiffFormat, ExpandsGreyOfLessThanEightBits) {
  for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{2}, std::uint16_t{4}}) {
    for (const std::uint16_t photometric : {kMinIsBlack, kMinIsWhite}) {
      for (const Size& size : kSizes) {
        const TiffPicture source = picture(photometric, 1, bits, size.width, size.height);
        const int maximum = (1 << bits) - 1;
        std::vector<int> expected = valuesOf(source);
        for (int& value : expected) value = (photometric == kMinIsWhite ? maximum - value : value) * 255 / maximum;
        const Bytes file = tiffFile({tiffPage(source)});
        const auto facts = describe(file);
        ASSERT_TRUE(facts);
        EXPECT_EQ(facts->bitsPerComponent, 8);
        EXPECT_EQ(facts->colorModel, ColorModel::grey);
        const auto raster = decode(file);
        ASSERT_TRUE(raster);
        EXPECT_EQ(raster->model, SampleModel::grey);
        EXPECT_EQ(samplesOf(*raster), expected) << "bits " << bits << " width " << size.width;
      }
    }
  }
}

TEST_F(TiffFormat, LooksPaletteColorsUp) {
  for (const std::uint16_t bits : {std::uint16_t{1}, std::uint16_t{4}, std::uint16_t{8}}) {
    const TiffPicture source = picture(kPalette, 1, bits, 17, 9);
    const std::uint32_t colors = 1U << bits;
    std::vector<std::uint32_t> map;  // all reds, then all greens, then all blues, 16 bits each
    for (std::uint32_t i = 0; i < 3 * colors; ++i) map.push_back((i * 37 + 11) % 256 * 257);
    std::vector<int> expected;
    for (const std::uint32_t index : source.values) {
      for (std::uint32_t i = 0; i < 3; ++i) expected.push_back(static_cast<int>(map[i * colors + index] / 257));
    }
    const Bytes file = tiffFile({tiffPage(source).set({320, TiffType::shortInteger, map})});
    const auto raster = decode(file);
    ASSERT_TRUE(raster);
    EXPECT_EQ(raster->bitsPerComponent, 8);
    EXPECT_EQ(samplesOf(*raster), expected) << "bits " << bits;
    EXPECT_EQ(describe(file)->bitsPerComponent, 8);
    EXPECT_EQ(describe(file)->colorModel, ColorModel::rgb);
  }
}

TEST_F(TiffFormat, TakesForAlphaOnlyWhatIsDeclaredAsAlpha) {
  struct Row {
    std::vector<std::uint32_t> extraSamples;
    std::vector<int> taken;  // samples of the one pixel that come out
    bool premultiplied;
  };
  const Row rows[] = {
      {{kUnspecified}, {10, 20, 30}, false},
      {{kUnspecified, kUnspecified}, {10, 20, 30}, false},
      {{kUnassociated, kUnspecified}, {10, 20, 30, 40}, false},
      {{kUnspecified, kAssociated}, {10, 20, 30, 50}, true},
  };
  for (const Row& row : rows) {
    for (const bool separate : {false, true}) {
      TiffPicture source{1,        1,
                         8,        static_cast<std::uint16_t>(3 + row.extraSamples.size()),
                         kRgb,     row.extraSamples,
                         separate, 0,
                         1,        {10, 20, 30, 40}};
      if (row.extraSamples.size() == 2) source.values.push_back(50);
      const Bytes file = tiffFile({tiffPage(source)});
      const auto raster = decode(file);
      ASSERT_TRUE(raster);
      EXPECT_EQ(samplesOf(*raster), row.taken);
      EXPECT_EQ(raster->premultiplied, row.premultiplied);
      EXPECT_EQ(describe(file)->hasAlpha, row.taken.size() == 4);
    }
  }
}

TEST_F(TiffFormat, DoesNotTakeAnUndeclaredFourthSampleForAlpha) {
  const TiffPicture source = picture(kRgb, 4, 8, 3, 5);
  const auto raster = decode(tiffFile({tiffPage(source)}));
  ASSERT_TRUE(raster);
  EXPECT_FALSE(raster->alpha);
}

constexpr std::uint16_t kLzw = 5;
constexpr std::uint16_t kJpeg = 7;
constexpr std::uint16_t kDeflate = 8;
constexpr std::uint16_t kPackBits = 32773;
constexpr std::uint16_t kLzma = 34925;
constexpr std::uint16_t kZstd = 50000;
constexpr std::uint16_t kGroup4 = 4;

TEST_F(TiffFormat, DecodesLosslessCompressionExactly) {
  for (const std::uint16_t compression : {kLzw, kDeflate, kPackBits, kLzma, kZstd}) {
    for (const Size& size : kSizes) {
      const TiffPicture source = picture(kRgb, 3, 8, size.width, size.height);
      const auto raster = decode(tiffFile({test_support::compressedTiffPage(source, compression)}));
      ASSERT_TRUE(raster) << compression;
      EXPECT_EQ(samplesOf(*raster), valuesOf(source));
    }
  }
}

TEST_F(TiffFormat, DecodesFaxCompressionExactly) {
  const TiffPicture source = picture(kMinIsWhite, 1, 1, 33, 40);
  const auto raster = decode(tiffFile({test_support::compressedTiffPage(source, kGroup4)}));
  ASSERT_TRUE(raster);
  std::vector<int> expected = valuesOf(source);
  for (int& value : expected) value = value == 0 ? 255 : 0;
  EXPECT_EQ(samplesOf(*raster), expected);
}

/// A picture that JPEG keeps nearly as it is.
TiffPicture smoothPicture(std::uint16_t photometric) {
  TiffPicture result{33, 40, 8, 3, photometric, {}, false, 0, 2, {}};
  for (std::uint32_t y = 0; y < result.height; ++y) {
    for (std::uint32_t x = 0; x < result.width; ++x) {
      result.values.insert(result.values.end(), {x * 4, y * 4, 100 + x + y});
    }
  }
  return result;
}

TEST_F(TiffFormat, ConvertsJpegCompressedYCbCrToRgb) {
  const TiffPicture source = smoothPicture(kYCbCr);
  const Bytes file = tiffFile({test_support::compressedTiffPage(source, kJpeg)});
  const auto raster = decode(file);
  ASSERT_TRUE(raster);
  EXPECT_EQ(raster->model, SampleModel::rgb);
  EXPECT_THAT(samplesOf(*raster), testing::Pointwise(testing::Truly([](const auto& pair) {
                                                       return std::abs(std::get<0>(pair) - std::get<1>(pair)) <= 6;
                                                     }),
                                                     valuesOf(source)));
  EXPECT_EQ(describe(file)->colorModel, ColorModel::rgb);
}

TEST_F(TiffFormat, RefusesACompressedStripThatEndsEarly) {
  struct Row {
    TiffPicture source;
    std::uint16_t compression;
    std::size_t tail = 12;  // bytes at the end of a strip without which the samples are still all there
  };
  const Row rows[] = {{picture(kRgb, 3, 8, 33, 40), kLzw},
                      {picture(kRgb, 3, 8, 33, 40), kDeflate},
                      {picture(kRgb, 3, 8, 33, 40), kPackBits},
                      {picture(kRgb, 3, 8, 33, 40), kLzma, 40 /* checksum, index and footer of an .xz stream */},
                      {picture(kRgb, 3, 8, 33, 40), kZstd},
                      {smoothPicture(kYCbCr), kJpeg},
                      {smoothPicture(kRgb), kJpeg},
                      {picture(kMinIsWhite, 1, 1, 33, 40), kGroup4}};
  for (const Row& row : rows) {
    const TiffPage page = test_support::compressedTiffPage(row.source, row.compression);
    ASSERT_TRUE(decode(tiffFile({page}))) << row.compression;
    const std::size_t size = page.chunks[0].size();
    for (std::size_t kept = 0; kept + row.tail < size; kept += std::max<std::size_t>(1, size / 40)) {
      TiffPage cut = page;
      cut.chunks[0].resize(kept);
      EXPECT_FALSE(decode(tiffFile({cut}))) << "compression " << row.compression << ", " << kept << " of " << size;
    }
  }
}

TEST_F(TiffFormat, RefusesFilesThatEndEarlyWhateverStandsLast) {
  for (const bool samplesLast : {false, true}) {
    const TiffForm form{.samplesLast = samplesLast};
    for (const std::uint16_t bits : {std::uint16_t{4}, std::uint16_t{8}}) {
      const Bytes file = tiffFile({tiffPage(picture(kMinIsBlack, 1, bits, 17, 9), form)}, form);
      ASSERT_TRUE(decode(file));
      for (std::size_t size = 0; size < file.size(); ++size) {
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(decode(cut)) << size << " of " << file.size();
        if (!samplesLast) {
          EXPECT_FALSE(describe(cut)) << size << " of " << file.size();
        }
      }
    }
  }
}

TEST_F(TiffFormat, DescribesButDoesNotDecodeWhatHasNoRaster) {
  struct Row {
    const char* what;
    TiffPicture source;
    std::vector<test_support::TiffEntry> entries;
    int bits;
  };
  TiffPicture paletteWithAlpha = picture(kPalette, 2, 8, 3, 5);
  paletteWithAlpha.extraSamples = {kUnassociated};
  const Row rows[] = {
      {"float", picture(kMinIsBlack, 1, 32, 3, 5), {{339, TiffType::shortInteger, {3}}}, 32},
      {"half float", picture(kRgb, 3, 16, 3, 5), {{339, TiffType::shortInteger, {3, 3, 3}}}, 16},
      {"signed", picture(kMinIsBlack, 1, 8, 3, 5), {{339, TiffType::shortInteger, {2}}}, 8},
      {"32 bits", picture(kRgb, 3, 32, 3, 5), {}, 32},
      {"inks other than CMYK", picture(kSeparated, 4, 8, 3, 5), {{332, TiffType::shortInteger, {2}}}, 8},
      {"palette with alpha",
       paletteWithAlpha,
       {{320, TiffType::shortInteger, std::vector<std::uint32_t>(768, 257)}},
       8},
      {"fewer samples than RGB has", picture(kRgb, 2, 8, 3, 5), {}, 8},
  };
  for (const Row& row : rows) {
    TiffPage page = tiffPage(row.source);
    for (const auto& entry : row.entries) page.set(entry);
    const Bytes file = tiffFile({page});
    const auto facts = describe(file);
    ASSERT_TRUE(facts) << row.what;
    EXPECT_EQ(facts->bitsPerComponent, row.bits) << row.what;
    EXPECT_FALSE(decode(file)) << row.what;
  }
}

TEST_F(TiffFormat, RefusesSizesThatTheFileCannotHold) {
  struct Row {
    std::uint32_t width;
    std::uint32_t height;
    bool described;
  };
  for (const Row& row : {Row{32768, 32768, true}, Row{32769, 32768, false}, Row{0xFFFFFFFF, 0xFFFFFFFF, false},
                         Row{1, 0xFFFFFFFF, false}, Row{0, 5, false}, Row{5, 0, false}}) {
    TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
    page.set({256, TiffType::longInteger, {row.width}}).set({257, TiffType::longInteger, {row.height}});
    page.set({278, TiffType::longInteger, {row.height}});
    const Bytes file = tiffFile({page});
    EXPECT_EQ(describe(file).has_value(), row.described) << row.width << "x" << row.height;
    EXPECT_FALSE(decode(file));
  }
}

TEST_F(TiffFormat, RefusesATileOfAbsurdSize) {
  TiffPicture source = picture(kMinIsBlack, 1, 8, 3, 5);
  source.tileSize = 16;
  for (const std::uint32_t side : {32768U, 65536U, 0x40000000U, 0xFFFFFFF0U}) {
    TiffPage page = tiffPage(source);
    page.set({322, TiffType::longInteger, {side}}).set({323, TiffType::longInteger, {side}});
    EXPECT_FALSE(decode(tiffFile({page}))) << side;
  }
}

}  // namespace
}  // namespace quellor
