#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/formats/tiff_format_fixture.h"
#include "tests/support/corpus.h"

namespace quellor {
namespace {

using test_support::samplesOf;
using test_support::tiffFile;
using test_support::TiffForm;
using test_support::TiffPage;
using test_support::tiffPage;
using test_support::TiffPicture;
using test_support::TiffType;
using testing::Optional;

TEST_F(TiffFormat, CountsEveryTopLevelDirectory) {
  const TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
  TiffPage reduced = page;
  reduced.set({254, TiffType::longInteger, {1}});
  for (const bool bigEndian : {false, true}) {
    const TiffForm form{.bigEndian = bigEndian};
    EXPECT_EQ(describe(tiffFile({page, reduced, page}, form)).value().imageCount, 3U);
  }
  EXPECT_EQ(describe(tiffFile(std::vector<TiffPage>(300, page))).value().imageCount, 300U);
}

TEST_F(TiffFormat, GivesTheFirstPage) {
  const TiffPicture first = picture(kMinIsBlack, 1, 8, 3, 5);
  const TiffPicture second = picture(kRgb, 3, 16, 17, 9);
  const Bytes file = tiffFile({tiffPage(first), tiffPage(second)});
  EXPECT_EQ(describe(file).value().width, 3U);
  EXPECT_EQ(samplesOf(decode(file).value()), valuesOf(first));
}

TEST_F(TiffFormat, RefusesABrokenChainOfDirectories) {
  const Bytes good = tiffFile({tiffPage(picture(kMinIsBlack, 1, 8, 3, 5))});
  ASSERT_TRUE(describe(good));
  const auto withNextDirectory = [&](std::uint32_t offset) {
    Bytes file = good;
    for (std::size_t i = 0; i < 4; ++i) file[file.size() - 4 + i] = static_cast<std::uint8_t>(offset >> 8 * i);
    return file;
  };
  const auto size = static_cast<std::uint32_t>(good.size());
  const std::uint32_t first = good[4];
  for (const std::uint32_t offset : {first, size - 2, size - 1, size, size + 1, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    EXPECT_FALSE(describe(withNextDirectory(offset))) << offset;
    EXPECT_FALSE(decode(withNextDirectory(offset))) << offset;
  }
}

TEST_F(TiffFormat, RefusesBrokenHeaders) {
  const Bytes good = tiffFile({tiffPage(picture(kMinIsBlack, 1, 8, 3, 5))});
  for (std::size_t i = 0; i < 4; ++i) {
    Bytes file = good;
    file[i] ^= 0xFF;
    EXPECT_FALSE(describe(file)) << i;
    EXPECT_FALSE(decode(file)) << i;
  }
  EXPECT_FALSE(describe({}));
  EXPECT_FALSE(describe({'I', 'I', 42, 0, 0, 0, 0, 0}));
}

TEST_F(TiffFormat, RefusesBigTiff) {
  const TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
  for (const bool bigEndian : {false, true}) {
    ASSERT_TRUE(describe(tiffFile({page}, {.bigEndian = bigEndian})));
    const Bytes file = tiffFile({page}, {.bigEndian = bigEndian, .bigTiff = true});
    EXPECT_FALSE(describe(file));
    EXPECT_FALSE(decode(file));
  }
}

TEST_F(TiffFormat, ReportsTheOrientationAndNeverAppliesIt) {
  TiffPicture exact = picture(kRgb, 3, 8, 3, 5);
  TiffPicture converted = picture(kMinIsBlack, 1, 4, 3, 5);
  for (const TiffPicture& source : {exact, converted}) {
    const auto upright = decode(tiffFile({tiffPage(source)}));
    ASSERT_TRUE(upright);
    EXPECT_EQ(describe(tiffFile({tiffPage(source)})).value().orientation, std::nullopt);
    for (std::uint32_t orientation = 1; orientation <= 8; ++orientation) {
      const Bytes file = tiffFile({tiffPage(source).set({274, TiffType::shortInteger, {orientation}})});
      EXPECT_EQ(describe(file).value().orientation, static_cast<int>(orientation));
      const auto raster = decode(file);
      ASSERT_TRUE(raster);
      EXPECT_EQ(raster->width, 3U);
      EXPECT_EQ(samplesOf(*raster), samplesOf(*upright)) << orientation;
    }
  }
  for (const std::uint32_t orientation : {0U, 9U, 65535U}) {
    const Bytes file = tiffFile({tiffPage(exact).set({274, TiffType::shortInteger, {orientation}})});
    EXPECT_EQ(describe(file).value().orientation, std::nullopt);
  }
}

TEST_F(TiffFormat, GivesTheResolutionInPixelsPerInch) {
  struct Row {
    std::uint32_t numerator, denominator, unit;
    std::optional<double> expected;
  };
  const Row rows[] = {{300, 1, 2, 300.0},
                      {72009, 1000, 2, 72.009},
                      {11811, 100, 3, 118.11 * 2.54},
                      {300, 1, 1, std::nullopt},
                      {300, 0, 2, std::nullopt},
                      {0, 1, 2, std::nullopt},
                      {300, 1, 0, 300.0 /* the default unit is the inch */}};
  for (const Row& row : rows) {
    TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
    page.set({282, TiffType::rational, {row.numerator, row.denominator}});
    page.set({283, TiffType::rational, {row.numerator * 2, row.denominator}});
    if (row.unit != 0) page.set({296, TiffType::shortInteger, {row.unit}});
    for (const bool bigEndian : {false, true}) {
      const auto facts = describe(tiffFile({page}, {.bigEndian = bigEndian}));
      ASSERT_TRUE(facts);
      if (row.expected) {
        EXPECT_THAT(facts->dpiWidth, Optional(testing::DoubleNear(*row.expected, 1e-9)));
        EXPECT_THAT(facts->dpiHeight, Optional(testing::DoubleNear(*row.expected * 2, 1e-9)));
      } else {
        EXPECT_EQ(facts->dpiWidth, std::nullopt);
        EXPECT_EQ(facts->dpiHeight, std::nullopt);
      }
    }
  }
}

std::vector<std::uint32_t> numbers(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

TEST_F(TiffFormat, HandsOutTheBlocksByteForByte) {
  const Bytes icc{0, 0, 0, 8, 'l', 'c', 'm', 's', 1};
  const Bytes xmp{'<', 'x', '/', '>', 0};
  const Bytes iptc{0x1C, 2, 5, 0, 1, 'x'};
  TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
  page.set({700, TiffType::byte, numbers(xmp)}).set({33723, TiffType::undefined, numbers(iptc)});
  page.set({34675, TiffType::undefined, numbers(icc)});
  for (const bool bigEndian : {false, true}) {
    const auto facts = describe(tiffFile({page}, {.bigEndian = bigEndian}));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->iccProfile, icc);
    EXPECT_EQ(facts->metadata.xmp, xmp);
    EXPECT_EQ(facts->metadata.iptc, iptc);
  }
}

TEST_F(TiffFormat, ReadsIptcDeclaredAs32BitNumbersInEitherByteOrder) {
  const Bytes iptc{0x1C, 2, 5, 0, 3, 'a', 'b', 'c'};
  const std::vector<std::uint32_t> lowFirst{0x0005021C, 0x63626103};
  const std::vector<std::uint32_t> highFirst{0x1C020500, 0x03616263};
  for (const auto& values : {lowFirst, highFirst}) {
    for (const bool bigEndian : {false, true}) {
      TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
      page.set({33723, TiffType::longInteger, values});
      const auto facts = describe(tiffFile({page}, {.bigEndian = bigEndian}));
      ASSERT_TRUE(facts);
      EXPECT_EQ(facts->metadata.iptc, iptc);
    }
  }
}

TEST_F(TiffFormat, LeavesOutABlockThatLiesOutsideTheFile) {
  TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
  page.set({34675, TiffType::undefined, std::vector<std::uint32_t>(100, 7)});
  Bytes file = tiffFile({page});
  const std::uint8_t tag[] = {0x73, 0x87, 7, 0, 100, 0, 0, 0};
  const auto entry = std::search(file.begin(), file.end(), std::begin(tag), std::end(tag));
  ASSERT_NE(entry, file.end());
  entry[7] = 0x7F;  // two thousand million bytes
  const auto facts = describe(file);
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->iccProfile, std::nullopt);
}

TEST_F(TiffFormat, MakesAnExifBlockOfTheDescriptiveTags) {
  TiffPage page = tiffPage(picture(kMinIsBlack, 1, 8, 3, 5));
  page.set({271, TiffType::ascii, {'M', 'a', 'k', 'e', 'r', 0}});
  const auto facts = describe(tiffFile({page}));
  ASSERT_TRUE(facts);
  ASSERT_TRUE(facts->metadata.exif);
  EXPECT_EQ(facts->metadata.exif->front(), 'I');
}

TEST_F(TiffFormat, ReadsARealFile) {
  if (!test_support::hasSampleFolder()) GTEST_SKIP() << "no sample folder: only made files are read";
  std::ifstream stream(test_support::sampleFile("other/tiff_Jobagent.tiff"), std::ios::binary);
  const Bytes file((std::istreambuf_iterator<char>(stream)), {});
  const auto facts = describe(file);
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->imageCount, 1U);
  EXPECT_EQ(facts->width, 264U);
  EXPECT_EQ(facts->height, 84U);
  EXPECT_TRUE(facts->hasAlpha);
  EXPECT_EQ(facts->orientation, 1);
  const auto raster = decode(file);
  ASSERT_TRUE(raster);
  EXPECT_TRUE(raster->premultiplied);
}

}  // namespace
}  // namespace quellor
