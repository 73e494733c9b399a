// What an encoded HEIC file looks like: its size to the sample, its brands and properties, its orientation, its
// profile.

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/heif/container_reader.h"
#include "platform/heif/item_properties.h"
#include "tests/support/heif_judge.h"
#include "tests/support/png_fixture.h"
#include "tests/support/writing_runs.h"

namespace quellor {
namespace {

using heif::Container;
using heif::fourCC;
using heif::Item;
using nlohmann::json;
using test_support::encodePng;
using test_support::HeifJudge;
using test_support::kEncodeCandidate;
using test_support::kRewriteDecoded;
using test_support::kRewriteFromSource;
using test_support::PngSpec;
using test_support::WrittenImage;

constexpr int kPngGrey = 0, kPngRgb = 2, kPngGreyAlpha = 4, kPngRgba = 6;
constexpr std::array kWriters = {kEncodeCandidate, kRewriteFromSource, kRewriteDecoded};

/// A slope without colour, which halved colour differences would blur in small pictures; full alpha on the left and
/// less to the right.
PngSpec slopes(std::uint32_t width, std::uint32_t height, int colorType, int bitDepth = 8) {
  PngSpec spec;
  spec.width = width;
  spec.height = height;
  spec.colorType = colorType;
  spec.bitDepth = bitDepth;
  const std::uint32_t maximum = (1U << bitDepth) - 1;
  const std::uint32_t alpha = colorType == kPngRgba ? 3 : colorType == kPngGreyAlpha ? 1 : 99;
  spec.sample = [=](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    if (component == alpha) return maximum - x * maximum / (2 * width);
    return maximum / 8 + x * maximum / 2 / width + y * maximum / 3 / height;
  };
  return spec;
}

std::pair<std::uint32_t, std::uint32_t> sizeShownByJudge(const std::filesystem::path& file) {
  const auto image = HeifJudge(file.string()).decode(heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr);
  if (!image) return {};
  return {heif_image_get_width(image.get(), heif_channel_interleaved),
          heif_image_get_height(image.get(), heif_channel_interleaved)};
}

class EncodedSize : public ::testing::TestWithParam<std::tuple<std::pair<std::uint32_t, std::uint32_t>, int>> {};

TEST_P(EncodedSize, IsThatOfTheInputToTheSample) {
  const auto [width, height] = std::get<0>(GetParam());
  const int colorType = std::get<1>(GetParam());
  const Bytes input = encodePng(slopes(width, height, colorType));
  for (const char* writer : kWriters) {
    SCOPED_TRACE(writer);
    const WrittenImage image(writer, input);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["output"]["width"], width);
    EXPECT_EQ(image.answer()["output"]["height"], height);
    EXPECT_EQ(sizeShownByJudge(image.path()), std::pair(width, height));
    if (colorType == kPngGrey || colorType == kPngGreyAlpha) continue;  // no raw pixels to compare
    const double likeness =
        test_support::psnr(test_support::exportPixelsOf(input), test_support::exportPixels(image.path()));
    EXPECT_GT(likeness, 38);  // no column or row of padding inside
  }
}

INSTANTIATE_TEST_SUITE_P(All, EncodedSize,
                         ::testing::Combine(::testing::Values(std::pair(1U, 1U), std::pair(1U, 5U), std::pair(3U, 5U),
                                                              std::pair(15U, 17U), std::pair(64U, 48U),
                                                              std::pair(641U, 479U)),
                                            ::testing::Values(kPngGrey, kPngRgb, kPngGreyAlpha, kPngRgba)),
                         [](const auto& tested) {
                           const auto size = std::get<0>(tested.param);
                           return std::to_string(size.first) + "x" + std::to_string(size.second) + "_color_type_" +
                                  std::to_string(std::get<1>(tested.param));
                         });

std::string textOf(heif::FourCC code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(code >> shift);
  return text;
}

std::vector<std::string> brandsOf(const Container& container) {
  std::vector<std::string> brands;
  for (const heif::FourCC brand : container.compatibleBrands) brands.push_back(textOf(brand));
  return brands;
}

void expectProperties(const Container& container, const Item& item, std::initializer_list<const char*> types) {
  for (const char* type : types) {
    const bool has = std::any_of(item.properties.begin(), item.properties.end(), [&](const auto& association) {
      return textOf(container.properties[association.index].type) == type;
    });
    EXPECT_TRUE(has) << type;
  }
}

TEST(EncodedFile, IsAMiafFileOfItsProfilesBrand) {
  const struct {
    int colorType, bitDepth;
    const char* brand;
  } cases[] = {{kPngRgb, 8, "heic"},
               {kPngRgba, 8, "heic"},
               {kPngGrey, 8, "heix"},
               {kPngRgb, 16, "heix"},
               {kPngRgba, 16, "heix"}};
  for (const auto& each : cases) {
    for (const std::uint32_t side : {37U, 64U}) {  // with a clean aperture and without
      SCOPED_TRACE(testing::Message() << each.colorType << " " << each.bitDepth << " " << side);
      const WrittenImage image(kRewriteFromSource, encodePng(slopes(side, side, each.colorType, each.bitDepth)));
      ASSERT_TRUE(image.written()) << image.answer();
      const Bytes file = image.bytes();
      const auto container = heif::readContainer(file);
      ASSERT_TRUE(container);
      EXPECT_EQ(textOf(container->majorBrand), each.brand);
      EXPECT_THAT(brandsOf(*container), ::testing::UnorderedElementsAre("mif1", each.brand, "miaf"));
      const Item& primary = *container->find(container->primaryItem);
      expectProperties(*container, primary, {"hvcC", "ispe", "pixi", "colr"});
      const auto alpha = container->itemsReferringTo(primary.id, fourCC("auxl"));
      ASSERT_EQ(alpha.size(), each.colorType == kPngRgba ? 1U : 0U);
      if (!alpha.empty()) expectProperties(*container, *alpha.front(), {"hvcC", "ispe", "pixi", "auxC"});
    }
  }
}

TEST(EncodedFile, OfSixteenBitsHasTen) {
  for (const int colorType : {kPngRgb, kPngRgba, kPngGrey}) {
    const Bytes input = encodePng(slopes(40, 30, colorType, 16));
    const WrittenImage image(kRewriteFromSource, input);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["input"]["bitDepth"], 16);
    EXPECT_EQ(image.answer()["output"]["bitDepth"], 10);
    for (const char* writer : {kEncodeCandidate, kRewriteDecoded}) {
      const WrittenImage refused(writer, input);
      EXPECT_EQ(refused.answer()["error"],
                json({{"code", "unsupported_bit_depth"}, {"message", "bit depth 16 not supported"}}));
    }
  }
}

TEST(EncodedFile, OfAPictureOfFewerBitsHasEight) {
  for (const int bits : {1, 2, 4}) {
    const WrittenImage image(kEncodeCandidate, encodePng(slopes(40, 30, kPngGrey, bits)));
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["output"]["bitDepth"], 8);
  }
}

TEST(EncodedFile, KeepsAlphaCloseToTheInputs) {
  const WrittenImage image(kEncodeCandidate, encodePng(slopes(64, 48, kPngRgba)));
  ASSERT_TRUE(image.written()) << image.answer();
  const auto coded = HeifJudge(image.path().string()).coded();
  ASSERT_TRUE(coded && coded->alpha);
  for (std::uint32_t y = 0; y < 48; ++y) {
    for (std::uint32_t x = 0; x < 64; ++x) {
      const int alpha = coded->alpha->firstSample[y * coded->alpha->strideBytes + x * coded->alpha->stepBytes];
      ASSERT_NEAR(alpha, 255 - static_cast<int>(x * 255 / 128), 3) << x << "," << y;
    }
  }
}

/// The Exif block of an orientation and nothing else, as PNG's eXIf chunk holds it.
Bytes exifOf(int orientation) {
  return {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, static_cast<std::uint8_t>(orientation),
          0,   0,   0, 0,  0, 0};
}

/// Red, green, blue and white by the corner: top left, top right, bottom left, bottom right.
constexpr std::array<std::array<std::uint8_t, 3>, 4> kCorners = {
    {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}}};

/// Which stored corner stands where once it is shown (Exif 2.32, 4.6.4 A, Orientation).
constexpr std::array<std::array<int, 4>, 8> kShownCorners = {
    {{0, 1, 2, 3}, {1, 0, 3, 2}, {3, 2, 1, 0}, {2, 3, 0, 1}, {0, 2, 1, 3}, {2, 0, 3, 1}, {3, 1, 2, 0}, {1, 3, 0, 2}}};

class EncodedOrientation : public ::testing::TestWithParam<int> {};

TEST_P(EncodedOrientation, IsShownByAnotherReaderAsTheInputsTagSays) {
  const int orientation = GetParam();
  PngSpec spec;
  spec.width = 96;
  spec.height = 64;
  spec.sample = [](std::uint32_t x, std::uint32_t y, std::uint32_t component) {
    return std::uint32_t{kCorners[(x >= 48 ? 1U : 0U) + (y >= 32 ? 2U : 0U)][component]};
  };
  spec.chunksBeforeData.push_back({"eXIf", exifOf(orientation)});
  const Bytes input = encodePng(spec);
  for (const char* writer : kWriters) {
    SCOPED_TRACE(writer);
    const WrittenImage image(writer, input);
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_EQ(image.answer()["input"]["orientation"], orientation);
    EXPECT_EQ(image.answer()["output"]["orientation"], orientation);
    const auto shown =
        HeifJudge(image.path().string()).decode(heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr);
    ASSERT_TRUE(shown);
    int stride = 0;
    const std::uint8_t* const pixels = heif_image_get_plane_readonly(shown.get(), heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(shown.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(shown.get(), heif_channel_interleaved);
    EXPECT_EQ(std::pair(width, height), orientation <= 4 ? std::pair(96, 64) : std::pair(64, 96));
    for (int corner = 0; corner < 4; ++corner) {
      const int x = corner % 2 == 0 ? 8 : width - 8, y = corner / 2 == 0 ? 8 : height - 8;
      const auto& expected = kCorners[static_cast<std::size_t>(
          kShownCorners[static_cast<std::size_t>(orientation - 1)][static_cast<std::size_t>(corner)])];
      for (int i = 0; i < 3; ++i) EXPECT_NEAR(pixels[y * stride + x * 3 + i], expected[static_cast<std::size_t>(i)], 6);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, EncodedOrientation, ::testing::Range(1, 9));

TEST(EncodedFile, WithoutAnOrientationInTheInputHasNone) {
  for (const char* writer : kWriters) {
    const WrittenImage image(writer, encodePng(slopes(40, 30, kPngRgb)));
    ASSERT_TRUE(image.written()) << image.answer();
    EXPECT_FALSE(image.answer()["output"].contains("orientation"));
  }
}

}  // namespace
}  // namespace quellor
