#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/pixels/rgbx_drawing.h"
#include "platform/values/bytes.h"
#include "tests/support/format_samples.h"
#include "tests/support/raster_fixture.h"
#include "tests/support/reference_drawing.h"

namespace quellor {
namespace {

using test_support::Color;
using test_support::interpolatedDifference;
using test_support::makeRaster;
using test_support::noise;
using test_support::normalised;
using test_support::quantised;
using test_support::RasterPlan;
using test_support::rgbOfDifferences;
using test_support::sampleAt;

/// A draw whose exact result lies this far from the middle between two values may go either way.
constexpr double kRoundingError = 0.51;

class PixelDrawing : public testing::Test {
 protected:
  /// The pixels, or nothing where the engine refuses. Undrawn bytes would be 99.
  Bytes draw(const Raster& raster) const {
    Bytes pixels(std::size_t{raster.width} * raster.height * 4, 99);
    return pixels::drawRgbx(raster, pixels) ? pixels : Bytes();
  }

  bool draws(const Raster& raster, std::size_t bytes) const {
    Bytes pixels(bytes);
    return pixels::drawRgbx(raster, pixels);
  }

 private:
};

int greatest(int bits) { return (1 << bits) - 1; }

Color samplesAt(const Raster& raster, std::uint32_t x, std::uint32_t y) {
  Color samples{};
  for (std::size_t i = 0; i < 3; ++i) samples[i] = sampleAt(raster.components[i], raster.bitsPerComponent, x, y);
  return samples;
}

using ExactColor = std::function<Color(std::uint32_t x, std::uint32_t y)>;

/// Every pixel is `exact`, normalised colour, clipped and rounded; every fourth byte is 255.
void expectPixels(const Bytes& pixels, std::uint32_t width, std::uint32_t height, const ExactColor& exact) {
  ASSERT_EQ(pixels.size(), std::size_t{width} * height * 4);
  double worst = 0;
  std::size_t opaque = 0;
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      const std::uint8_t* const pixel = pixels.data() + (std::size_t{y} * width + x) * 4;
      const Color expected = exact(x, y);
      for (std::size_t i = 0; i < 3; ++i) {
        worst = std::max(worst, std::abs(pixel[i] - std::clamp(expected[i], 0.0, 1.0) * 255));
      }
      if (pixel[3] == 255) ++opaque;
    }
  }
  EXPECT_LE(worst, kRoundingError);
  EXPECT_EQ(opaque, std::size_t{width} * height);
}

std::string nameOf(const RasterPlan& plan) {
  return "matrix " + std::to_string(plan.coding.matrixCoefficients) + (plan.coding.fullRange ? " full " : " limited ") +
         std::to_string(plan.bits) + " bits " + std::to_string(plan.width) + "x" + std::to_string(plan.height) +
         " chroma for " + std::to_string(plan.chromaColumns) + "x" + std::to_string(plan.chromaRows) + " siting " +
         std::to_string(static_cast<int>(plan.siting));
}

TEST_F(PixelDrawing, KeepsEveryRgbSampleOf8Bits) {
  for (const bool interleaved : {false, true}) {
    for (const auto& [width, height] : {std::pair{1U, 1U}, {3U, 5U}, {641U, 479U}, {1021U, 1501U}}) {
      const RasterPlan plan{.width = width, .height = height, .interleaved = interleaved};
      const Raster raster = makeRaster(plan, noise(8));
      const Bytes pixels = draw(raster);
      ASSERT_EQ(pixels.size(), std::size_t{width} * height * 4);
      std::size_t different = 0;
      for (std::size_t i = 0; i < pixels.size(); ++i) {
        const auto x = static_cast<std::uint32_t>(i / 4 % width), y = static_cast<std::uint32_t>(i / 4 / width);
        const int expected = i % 4 == 3 ? 255 : sampleAt(raster.components[i % 4], 8, x, y);
        if (pixels[i] != expected) ++different;
      }
      EXPECT_EQ(different, 0U) << width << "x" << height;
    }
  }
}

TEST_F(PixelDrawing, RoundsDeepRgbToTheNearest) {
  for (const int bits : {9, 10, 12, 14, 16}) {
    for (const bool interleaved : {false, true}) {
      const RasterPlan plan{.width = 256, .height = 256, .bits = bits, .interleaved = interleaved};
      const auto everyValue = [bits](std::size_t, std::uint32_t x, std::uint32_t y) {
        return static_cast<int>(y * 256 + x) & greatest(bits);
      };
      const Bytes pixels = draw(makeRaster(plan, everyValue));
      ASSERT_FALSE(pixels.empty());
      for (int i = 0; i < 65536; ++i) {
        const double exact = 255.0 * (i & greatest(bits)) / greatest(bits);
        ASSERT_EQ(pixels[static_cast<std::size_t>(i) * 4], std::lround(exact)) << bits << " bits, sample " << i;
      }
    }
  }
}

TEST_F(PixelDrawing, Takes257StepsOf16BitsForOneOf8) {
  const std::vector<std::pair<int, int>> table{
      {0, 0},       {128, 0},     {129, 1},     {257, 1},     {385, 1}, {386, 2},          {32767, 127},
      {32768, 128}, {65406, 254}, {65407, 255}, {65535, 255}, {255, 1}, {65535 - 129, 254}};
  for (const auto& [sample, expected] : table) {
    const int value = sample;
    const Bytes pixels = draw(makeRaster({.bits = 16}, [value](auto...) { return value; }));
    EXPECT_EQ(pixels, (Bytes{std::uint8_t(expected), std::uint8_t(expected), std::uint8_t(expected), 255})) << sample;
  }
}

TEST_F(PixelDrawing, CountsASampleAboveItsDepthAsTheGreatest) {
  const Bytes pixels = draw(makeRaster({.bits = 10}, [](std::size_t i, auto...) { return i == 0 ? 1024 : 65535; }));
  EXPECT_EQ(pixels, (Bytes{255, 255, 255, 255}));
}

TEST_F(PixelDrawing, MultipliesStraightColorByAlphaAndRoundsOnce) {
  for (const int bits : {8, 10, 16}) {
    for (const bool interleaved : {false, true}) {
      // In 8 bits this is every colour with every alpha.
      const RasterPlan plan{.width = 256, .height = 256, .bits = bits, .interleaved = interleaved, .alpha = true};
      const auto sample = [bits](std::size_t i, std::uint32_t x, std::uint32_t y) {
        if (bits != 8) return noise(bits)(i, x, y);
        return static_cast<int>(i == 3 ? y : i == 0 ? x : i == 1 ? 255 - x : x ^ y);
      };
      const Raster raster = makeRaster(plan, sample);
      const Bytes pixels = draw(raster);
      ASSERT_FALSE(pixels.empty());
      for (std::uint32_t y = 0; y < 256; ++y) {
        for (std::uint32_t x = 0; x < 256; ++x) {
          const std::uint64_t alpha = static_cast<std::uint64_t>(sampleAt(*raster.alpha, bits, x, y));
          for (std::size_t i = 0; i < 3; ++i) {
            const std::uint64_t color = static_cast<std::uint64_t>(sampleAt(raster.components[i], bits, x, y));
            const std::uint64_t whole =
                static_cast<std::uint64_t>(greatest(bits)) * static_cast<std::uint64_t>(greatest(bits));
            ASSERT_EQ(pixels[(y * 256 + x) * 4 + i], (2 * color * alpha * 255 + whole) / (2 * whole))
                << bits << " bits, " << color << " by " << alpha;
          }
          ASSERT_EQ(pixels[(y * 256 + x) * 4 + 3], 255);
        }
      }
    }
  }
}

TEST_F(PixelDrawing, KeepsPremultipliedColor) {
  const RasterPlan plan{.width = 3, .height = 1, .interleaved = true, .alpha = true, .premultiplied = true};
  const int samples[3][4] = {{100, 0, 7, 128}, {0, 0, 0, 0}, {255, 255, 255, 255}};
  const Bytes pixels = draw(makeRaster(plan, [&](std::size_t i, std::uint32_t x, auto) { return samples[x][i]; }));
  EXPECT_EQ(pixels, (Bytes{100, 0, 7, 255, 0, 0, 0, 255, 255, 255, 255, 255}));
}

TEST_F(PixelDrawing, DrawsFullyTransparentPixelsBlack) {
  const auto sample = [](std::size_t i, auto...) { return i == 3 ? 0 : 200; };
  for (const SampleModel model : {SampleModel::rgb, SampleModel::ycbcr}) {
    EXPECT_EQ(draw(makeRaster({.model = model, .alpha = true}, sample)), (Bytes{0, 0, 0, 255}));
  }
}

TEST_F(PixelDrawing, UndoesEveryMatrixRangeAndDepth) {
  for (const std::uint16_t matrix : std::vector<std::uint16_t>{1, 4, 5, 6, 7, 9}) {
    for (const bool full : {false, true}) {
      for (const int bits : {8, 10, 12, 16}) {
        const RasterPlan plan{
            .model = SampleModel::ycbcr, .width = 133, .height = 67, .bits = bits, .coding = {2, 2, matrix, full}};
        SCOPED_TRACE(nameOf(plan));
        const Raster raster = makeRaster(plan, noise(bits));
        expectPixels(draw(raster), plan.width, plan.height, [&](std::uint32_t x, std::uint32_t y) {
          return rgbOfDifferences(normalised(samplesAt(raster, x, y), bits, full), matrix);
        });
      }
    }
  }
}

TEST_F(PixelDrawing, UndoesTheLiftingMatrix) {
  // H.273, 8.3: luma and differences are made of quantised red, green and blue, which have one range.
  for (const bool full : {false, true}) {
    const RasterPlan plan{.model = SampleModel::ycbcr, .width = 64, .height = 64, .coding = {2, 2, 8, full}};
    const Raster raster = makeRaster(plan, noise(8));
    expectPixels(draw(raster), 64, 64, [&](std::uint32_t x, std::uint32_t y) {
      const Color coded = samplesAt(raster, x, y);
      const double green = coded[1] - 128, orange = coded[2] - 128, rest = coded[0] - green;
      Color rgb{rest + orange, coded[0] + green, rest - orange};
      for (double& value : rgb) value = full ? value / 255 : (value - 16) / 219;
      return rgb;
    });
  }
}

TEST_F(PixelDrawing, MakesTheMatrixThatIsDerivedFromPrimaries) {
  const RasterPlan plan{.model = SampleModel::ycbcr, .width = 64, .height = 64, .coding = {1, 2, 12, true}};
  const Raster raster = makeRaster(plan, noise(8));
  expectPixels(draw(raster), 64, 64, [&](std::uint32_t x, std::uint32_t y) {
    // BT.709 rounds its coefficients, which are made of the same primaries, to four places.
    return rgbOfDifferences(normalised(samplesAt(raster, x, y), 8, true), 1);
  });
}

TEST_F(PixelDrawing, UndoesIctcp) {
  // ITU-R BT.2100-2, tables 4 (PQ) and 7: differences of cone responses.
  const auto linear = [](double signal) {
    const double power = std::pow(signal, 32.0 / 2523.0);
    return std::pow(std::max(power - 107.0 / 128, 0.0) / (2413.0 / 128 - 2392.0 / 128 * power), 16384.0 / 2610.0);
  };
  const auto encoded = [](double light) {
    const double power = std::pow(light, 2610.0 / 16384.0);
    return std::pow((107.0 / 128 + 2413.0 / 128 * power) / (1 + 2392.0 / 128 * power), 2523.0 / 32.0);
  };
  const auto rgbAt = [](std::uint32_t x, std::uint32_t y) {
    return Color{(x % 4) * 0.2 + 0.1, (x / 4) * 0.2 + 0.1, y * 0.2 + 0.1};
  };
  const auto sample = [&](std::size_t i, std::uint32_t x, std::uint32_t y) {
    Color rgb = rgbAt(x, y);
    for (double& value : rgb) value = linear(value);
    const double l = encoded((1688 * rgb[0] + 2146 * rgb[1] + 262 * rgb[2]) / 4096);
    const double m = encoded((683 * rgb[0] + 2951 * rgb[1] + 462 * rgb[2]) / 4096);
    const double s = encoded((99 * rgb[0] + 309 * rgb[1] + 3688 * rgb[2]) / 4096);
    const Color coded{0.5 * l + 0.5 * m, (6610 * l - 13613 * m + 7003 * s) / 4096,
                      (17933 * l - 17390 * m - 543 * s) / 4096};
    return static_cast<int>(std::lround(quantised(coded, 16, true)[i]));
  };
  const RasterPlan plan{.model = SampleModel::ycbcr, .width = 16, .height = 4, .bits = 16, .coding = {9, 16, 14, true}};
  const Bytes pixels = draw(makeRaster(plan, sample));
  ASSERT_FALSE(pixels.empty());
  // A dark colour beside two bright ones is a small difference of large numbers.
  for (std::uint32_t i = 0; i < 64; ++i) {
    const Color rgb = rgbAt(i % 16, i / 16);
    for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(pixels[i * 4 + c], rgb[c] * 255, 2) << i << " " << c;
  }
}

TEST_F(PixelDrawing, TakesTheIdentityForGreenBlueRed) {
  for (const bool full : {true, false}) {
    for (const int bits : {8, 10, 12}) {
      const RasterPlan plan{
          .model = SampleModel::ycbcr, .width = 65, .height = 33, .bits = bits, .coding = {2, 2, 0, full}};
      const Raster raster = makeRaster(plan, noise(bits));
      expectPixels(draw(raster), plan.width, plan.height, [&](std::uint32_t x, std::uint32_t y) {
        const Color coded = samplesAt(raster, x, y);
        Color rgb{coded[2], coded[0], coded[1]};
        const double unit = 1 << (bits - 8);
        for (double& value : rgb) value = full ? value / greatest(bits) : (value - 16 * unit) / (219 * unit);
        return rgb;
      });
    }
  }
}

TEST_F(PixelDrawing, TakesAnUnspecifiedOrImpossibleMatrixForThatOfBt601) {
  for (const std::uint16_t matrix : std::vector<std::uint16_t>{0, 2}) {
    const RasterPlan plan{.model = SampleModel::ycbcr,
                          .width = 32,
                          .height = 32,
                          .chromaColumns = 2,
                          .chromaRows = 2,
                          .coding = {2, 2, matrix, true}};
    RasterPlan known = plan;
    known.coding.matrixCoefficients = 6;
    EXPECT_EQ(draw(makeRaster(plan, noise(8))), draw(makeRaster(known, noise(8)))) << matrix;
  }
}

TEST_F(PixelDrawing, MultipliesConvertedColorByAlphaBeforeItRounds) {
  for (const int bits : {8, 10}) {
    const RasterPlan plan{.model = SampleModel::ycbcr,
                          .width = 133,
                          .height = 67,
                          .bits = bits,
                          .alpha = true,
                          .coding = {2, 2, 6, bits == 8}};
    const Raster raster = makeRaster(plan, noise(bits));
    expectPixels(draw(raster), plan.width, plan.height, [&](std::uint32_t x, std::uint32_t y) {
      Color rgb = rgbOfDifferences(normalised(samplesAt(raster, x, y), bits, bits == 8), 6);
      const double alpha = double(sampleAt(*raster.alpha, bits, x, y)) / greatest(bits);
      for (double& value : rgb) value = std::clamp(value, 0.0, 1.0) * alpha;
      return rgb;
    });
  }
}

/// Every subsampling that the contract names.
constexpr std::pair<std::uint32_t, std::uint32_t> kSubsamplings[] = {{1, 1}, {2, 1}, {2, 2}, {1, 2},
                                                                     {4, 1}, {4, 2}, {1, 4}, {4, 4}};
constexpr std::pair<std::uint32_t, std::uint32_t> kSizes[] = {{1, 1},  {2, 2}, {3, 5},   {5, 3},   {1, 9},
                                                              {17, 1}, {7, 8}, {16, 16}, {33, 31}, {641, 79}};

TEST_F(PixelDrawing, KeepsAFlatColorInEverySubsamplingAndSize) {
  for (const auto& [columns, rows] : kSubsamplings) {
    for (const auto& [width, height] : kSizes) {
      for (const int bits : {8, 10, 12}) {
        for (const ChromaSiting siting : {ChromaSiting::left, ChromaSiting::centre, ChromaSiting::topLeft}) {
          const RasterPlan plan{.model = SampleModel::ycbcr,
                                .width = width,
                                .height = height,
                                .bits = bits,
                                .chromaColumns = columns,
                                .chromaRows = rows,
                                .coding = {2, 2, 6, true},
                                .siting = siting};
          SCOPED_TRACE(nameOf(plan));
          const int differences[] = {0, 100 << (bits - 8), 180 << (bits - 8)};
          const auto sample = [&](std::size_t i, std::uint32_t x, std::uint32_t y) {
            return i == 0 ? noise(bits)(0, x, y) : differences[i];
          };
          const Raster raster = makeRaster(plan, sample);
          expectPixels(draw(raster), width, height, [&](std::uint32_t x, std::uint32_t y) {
            const Color coded{double(sample(0, x, y)), double(differences[1]), double(differences[2])};
            return rgbOfDifferences(normalised(coded, bits, true), 6);
          });
        }
      }
    }
  }
}

TEST_F(PixelDrawing, InterpolatesColorDifferencesFromWhereTheyLie) {
  const ChromaSiting sitings[] = {ChromaSiting::left, ChromaSiting::centre,     ChromaSiting::topLeft,
                                  ChromaSiting::top,  ChromaSiting::bottomLeft, ChromaSiting::bottom};
  const auto sample = [](std::size_t i, std::uint32_t x, std::uint32_t y) {
    return i == 0 ? 2048 : noise(11)(i, x, y) + 512;
  };
  for (const auto& [columns, rows] : kSubsamplings) {
    for (const ChromaSiting siting : sitings) {
      for (const auto& [width, height] : {std::pair{63U, 45U}, {301U, 2003U}}) {
        const RasterPlan plan{.model = SampleModel::ycbcr,
                              .width = width,
                              .height = height,
                              .bits = 12,
                              .chromaColumns = columns,
                              .chromaRows = rows,
                              .coding = {2, 2, 6, true},
                              .siting = siting};
        SCOPED_TRACE(nameOf(plan));
        const Raster raster = makeRaster(plan, sample);
        expectPixels(draw(raster), width, height, [&](std::uint32_t x, std::uint32_t y) {
          const Color coded{2048, interpolatedDifference(raster, 1, x, y), interpolatedDifference(raster, 2, x, y)};
          return rgbOfDifferences(normalised(coded, 12, true), 6);
        });
      }
    }
  }
}

TEST_F(PixelDrawing, TakesASampleLeftOverForWhatLiesBeyondTheEdge) {
  for (const auto& [width, height] : {std::pair{10U, 6U}, {9U, 7U}}) {
    const RasterPlan plan{.model = SampleModel::ycbcr,
                          .width = width + 2,
                          .height = height + 2,
                          .chromaColumns = 2,
                          .chromaRows = 2,
                          .coding = {2, 2, 6, true}};
    const Raster whole = makeRaster(plan, noise(8));
    Raster leftOver = whole;
    leftOver.width = leftOver.components[0].width = width;
    leftOver.height = leftOver.components[0].height = height;
    const Bytes wholePixels = draw(whole), pixels = draw(leftOver);
    ASSERT_FALSE(pixels.empty());
    for (std::uint32_t y = 0; y < height; ++y) {
      const auto there = wholePixels.begin() + y * (width + 2) * 4;
      EXPECT_TRUE(std::equal(there, there + width * 4, pixels.begin() + y * width * 4)) << y;
    }
  }
}

TEST_F(PixelDrawing, DrawsACropThatBeginsAtAnOddSampleLikeThatPartOfTheWhole) {
  for (const ChromaSiting siting : {ChromaSiting::left, ChromaSiting::centre}) {
    for (const auto& [right, down] : {std::pair{1U, 1U}, {1U, 0U}, {0U, 1U}}) {
      const RasterPlan plan{.model = SampleModel::ycbcr,
                            .width = 644,
                            .height = 1004,
                            .chromaColumns = 2,
                            .chromaRows = 2,
                            .coding = {2, 2, 6, true},
                            .siting = siting};
      const Raster whole = makeRaster(plan, noise(8));
      Raster crop = whole;
      crop.width = crop.components[0].width = plan.width - 3;
      crop.height = crop.components[0].height = plan.height - 2;
      crop.components[0].firstSample += down * crop.components[0].strideBytes + right;
      crop.chromaPhase = {right, down};
      for (const std::size_t i : {1U, 2U}) {
        crop.components[i].width = (crop.width + right + 1) / 2;
        crop.components[i].height = (crop.height + down + 1) / 2;
      }
      const Bytes wholePixels = draw(whole), cropPixels = draw(crop);
      ASSERT_FALSE(cropPixels.empty());
      std::size_t different = 0;
      for (std::uint32_t y = 0; y < crop.height; ++y) {
        // At the last row and column the whole has colour differences that the crop has lost.
        for (std::uint32_t x = 0; x < crop.width - 1 && y < crop.height - 1; ++x) {
          const std::uint8_t* const there = wholePixels.data() + ((y + down) * plan.width + x + right) * 4;
          if (!std::equal(there, there + 4, cropPixels.data() + (y * crop.width + x) * 4)) ++different;
        }
      }
      EXPECT_EQ(different, 0U) << right << " " << down;
    }
  }
}

TEST_F(PixelDrawing, RefusesSpacesWithoutThreeComponents) {
  for (const SampleModel model : {SampleModel::grey, SampleModel::cmyk}) {
    EXPECT_TRUE(draw(makeRaster({.model = model, .width = 4, .height = 4}, noise(8))).empty());
  }
}

TEST_F(PixelDrawing, RefusesMatricesWithoutAConversion) {
  for (const std::uint16_t matrix : std::vector<std::uint16_t>{3, 10, 11, 13, 15, 200}) {
    const RasterPlan plan{.model = SampleModel::ycbcr, .width = 4, .height = 4, .coding = {2, 2, matrix, true}};
    EXPECT_TRUE(draw(makeRaster(plan, noise(8))).empty()) << matrix;
  }
}

TEST_F(PixelDrawing, RefusesRastersThatDoNotFit) {
  const Raster good = makeRaster({.model = SampleModel::ycbcr, .width = 8, .height = 8, .alpha = true}, noise(8));
  ASSERT_TRUE(draws(good, 256));
  const std::pair<const char*, std::function<void(Raster&)>> cases[] = {
      {"no columns", [](Raster& r) { r.width = 0; }},
      {"no rows", [](Raster& r) { r.height = 0; }},
      {"more pixels than any image", [](Raster& r) { r.width = r.height = 0xFFFFFFFF; }},
      {"7 bits", [](Raster& r) { r.bitsPerComponent = 7; }},
      {"17 bits", [](Raster& r) { r.bitsPerComponent = 17; }},
      {"a component missing", [](Raster& r) { r.components.pop_back(); }},
      {"a component too many", [](Raster& r) { r.components.push_back(r.components[0]); }},
      {"no memory", [](Raster& r) { r.components[1].firstSample = nullptr; }},
      {"narrow luma", [](Raster& r) { r.components[0].width = 7; }},
      {"colour differences of two sizes", [](Raster& r) { r.components[1].width = 4; }},
      {"a third of the columns", [](Raster& r) { r.components[1].width = r.components[2].width = 3; }},
      {"no colour difference", [](Raster& r) { r.components[1].width = r.components[2].width = 0; }},
      {"a phase without subsampling", [](Raster& r) { r.chromaPhase.columns = 1; }},
      {"a phase as large as any number", [](Raster& r) { r.chromaPhase.rows = 0xFFFFFFFF; }},
      {"low alpha", [](Raster& r) { r.alpha->height = 4; }},
      {"subsampled red", [](Raster& r) { r.model = SampleModel::rgb, r.components[0].width = 4; }},
  };
  for (const auto& [why, spoil] : cases) {
    Raster bad = good;
    spoil(bad);
    EXPECT_FALSE(draws(bad, 256)) << why;
  }
  EXPECT_FALSE(draws(good, 255)) << "too few bytes";
  EXPECT_FALSE(draws(good, 260)) << "too many bytes";
}

}  // namespace
}  // namespace quellor
