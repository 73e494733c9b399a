#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/pixels/encoding_form.h"
#include "tests/support/format_samples.h"
#include "tests/support/raster_fixture.h"

namespace quellor {
namespace {

using test_support::Color;
using test_support::differencesOfRgb;
using test_support::makeRaster;
using test_support::noise;
using test_support::normalised;
using test_support::quantised;
using test_support::RasterPlan;
using test_support::sampleAt;
using test_support::SampleFunction;
using test_support::samplesOf;
using testing::Each;

constexpr double kRoundingError = 0.51;
constexpr std::uint16_t kBt601 = 6;
constexpr std::pair<std::uint32_t, std::uint32_t> kSizes[] = {{1, 1}, {2, 2},  {3, 5},     {5, 3},
                                                              {1, 9}, {17, 1}, {641, 479}, {1021, 1501}};

class PixelEncodingForm : public testing::Test {
 protected:
  std::optional<Raster> formOf(const Raster& raster) const { return pixels::encodingForm(raster); }

  /// The form of a raster that has one; its planes are of the sizes and the depth that an encoder takes.
  Raster planesOf(const Raster& raster) const {
    const auto form = formOf(raster);
    if (!form) {
      ADD_FAILURE() << "no form";
      return {};
    }
    const int bits = raster.bitsPerComponent == 8 ? 8 : 10;
    const bool grey = raster.model == SampleModel::grey;
    EXPECT_EQ(form->bitsPerComponent, bits);
    EXPECT_EQ(form->model, grey ? SampleModel::grey : SampleModel::ycbcr);
    EXPECT_EQ(form->components.size(), grey ? 1U : 3U);
    EXPECT_EQ(form->alpha.has_value(), raster.alpha.has_value());
    EXPECT_EQ(form->premultiplied, raster.premultiplied);
    EXPECT_NE(form->owner, nullptr);
    std::vector<Component> planes = form->components;
    if (form->alpha) planes.push_back(*form->alpha);
    for (std::size_t i = 0; i < planes.size(); ++i) {
      const bool difference = !grey && (i == 1 || i == 2);
      EXPECT_EQ(planes[i].stepBytes, bits == 8 ? 1U : 2U);
      EXPECT_EQ(planes[i].width, difference ? (raster.width + 1) / 2 : raster.width);
      EXPECT_EQ(planes[i].height, difference ? (raster.height + 1) / 2 : raster.height);
    }
    return *form;
  }

 private:
};

int greatest(int bits) { return (1 << bits) - 1; }

using ExactSample = std::function<double(std::uint32_t x, std::uint32_t y)>;

/// Every sample is `exact`, clipped to the depth and rounded.
void expectPlane(const Component& plane, int bits, const ExactSample& exact) {
  double worst = 0;
  for (std::uint32_t y = 0; y < plane.height; ++y) {
    for (std::uint32_t x = 0; x < plane.width; ++x) {
      const double expected = std::clamp(exact(x, y), 0.0, double(greatest(bits)));
      worst = std::max(worst, std::abs(sampleAt(plane, bits, x, y) - expected));
    }
  }
  EXPECT_LE(worst, kRoundingError);
}

RasterPlan differences(std::uint32_t chromaColumns, std::uint32_t chromaRows, const Cicp& coding, int bits = 8) {
  return {.model = SampleModel::ycbcr,
          .width = 37,
          .height = 23,
          .bits = bits,
          .chromaColumns = chromaColumns,
          .chromaRows = chromaRows,
          .coding = coding};
}

TEST_F(PixelEncodingForm, HandsBackWhatFitsAlready) {
  RasterPlan plans[] = {differences(2, 2, {12, 13, 6, true}), differences(2, 2, {1, 1, 1, false}),
                        differences(2, 2, {9, 16, 9, false}, 10)};
  for (RasterPlan plan : plans) {
    for (const bool alpha : {false, true}) {
      plan.alpha = plan.premultiplied = alpha;
      plan.siting = ChromaSiting::centre;
      const Raster raster = makeRaster(plan, noise(plan.bits));
      const Raster form = planesOf(raster);
      EXPECT_EQ(form.owner, raster.owner);
      for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(form.components[i].firstSample, raster.components[i].firstSample);
        EXPECT_EQ(form.components[i].strideBytes, raster.components[i].strideBytes);
      }
      if (alpha) {
        EXPECT_EQ(form.alpha->firstSample, raster.alpha->firstSample);
      }
      EXPECT_EQ(form.coding, plan.coding);
      EXPECT_EQ(form.chromaSiting, plan.siting);
    }
  }
}

TEST_F(PixelEncodingForm, HandsBackGreyAsItIs) {
  for (const int bits : {8, 10}) {
    for (const bool full : {false, true}) {
      const RasterPlan plan{
          .model = SampleModel::grey, .width = 5, .height = 3, .bits = bits, .coding = {2, 2, 2, full}};
      const Raster raster = makeRaster(plan, noise(bits));
      const Raster form = planesOf(raster);
      EXPECT_EQ(form.owner, raster.owner);
      EXPECT_EQ(form.components[0].firstSample, raster.components[0].firstSample);
      EXPECT_EQ(form.coding, plan.coding);
    }
  }
}

TEST_F(PixelEncodingForm, NamesTheMatrixThatAnUnspecifiedOneCountsAs) {
  for (const std::uint16_t matrix : std::vector<std::uint16_t>{0, 2}) {
    const Raster raster = makeRaster(differences(2, 2, {12, 13, matrix, true}), noise(8));
    const Raster form = planesOf(raster);
    EXPECT_EQ(form.owner, raster.owner);
    EXPECT_EQ(form.coding, (Cicp{12, 13, kBt601, true}));
  }
}

TEST_F(PixelEncodingForm, LeavesOutASampleLeftOverAtTheEnd) {
  const RasterPlan plan{.model = SampleModel::ycbcr, .width = 12, .height = 8, .chromaColumns = 2, .chromaRows = 2};
  Raster raster = makeRaster(plan, noise(8));
  raster.width = raster.components[0].width = 10;
  raster.height = raster.components[0].height = 6;
  const Raster form = planesOf(raster);
  EXPECT_EQ(form.owner, raster.owner);
}

TEST_F(PixelEncodingForm, MakesLumaOfRgbByTheMatrixOfBt601) {
  for (const auto& [width, height] : kSizes) {
    for (const int bits : {8, 10, 12, 16}) {
      for (const bool interleaved : {false, true}) {
        if (width > 1000 && bits != 8) continue;
        const RasterPlan plan{
            .width = width, .height = height, .bits = bits, .interleaved = interleaved, .coding = {12, 13, 0, true}};
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + " " + std::to_string(bits) + " bits");
        const Raster form = planesOf(makeRaster(plan, noise(bits)));
        const int formBits = bits == 8 ? 8 : 10;
        expectPlane(form.components[0], formBits, [&](std::uint32_t x, std::uint32_t y) {
          Color rgb{};
          for (std::size_t i = 0; i < 3; ++i) rgb[i] = double(noise(bits)(i, x, y)) / greatest(bits);
          return quantised(differencesOfRgb(rgb, kBt601), formBits, true)[0];
        });
        EXPECT_EQ(form.coding, (Cicp{12, 13, kBt601, true}));
        EXPECT_EQ(form.chromaSiting, ChromaSiting::left);
      }
    }
  }
}

TEST_F(PixelEncodingForm, KeepsAFlatColorOfRgbInEverySize) {
  const Color colors[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}, {0, 0, 0}, {0.2, 0.4, 0.8}};
  for (const Color& rgb : colors) {
    for (const auto& [width, height] : kSizes) {
      const auto sample = [&](std::size_t i, auto...) { return static_cast<int>(std::lround(rgb[i] * 255)); };
      const Raster form = planesOf(makeRaster({.width = width, .height = height}, sample));
      const Color expected = quantised(differencesOfRgb(rgb, kBt601), 8, true);
      for (std::size_t i = 0; i < 3; ++i) expectPlane(form.components[i], 8, [&](auto...) { return expected[i]; });
    }
  }
}

/// A plane that rises by `across` to the right and by `down` downwards, in luma samples.
ExactSample ramp(double across, double down) {
  return [=](std::uint32_t x, std::uint32_t y) { return 300 + across * x + down * y; };
}

/// The colour differences of 4:2:0 of a ramp: `left` and `top` say where the first one lies. The outermost ones see
/// the edge of the picture and are not looked at.
void expectRamp(const Raster& form, double across, double down, double left, double top) {
  for (const std::size_t i : {1U, 2U}) {
    const Component& plane = form.components[i];
    double worst = 0;
    for (std::uint32_t y = 1; y + 1 < plane.height; ++y) {
      for (std::uint32_t x = 1; x + 1 < plane.width; ++x) {
        const double expected = 300 + across * (2 * x + left) + down * (2 * y + top);
        worst = std::max(worst, std::abs(sampleAt(plane, 10, x, y) - expected));
      }
    }
    EXPECT_LE(worst, kRoundingError);
  }
}

TEST_F(PixelEncodingForm, PutsColorDifferencesWhereDecodersInferThem) {
  const RasterPlan plan = differences(1, 1, {2, 2, 6, true}, 10);
  for (const auto& [across, down] : {std::pair{5.0, 0.0}, {0.0, 5.0}, {3.0, 4.0}}) {
    const ExactSample exact = ramp(across, down);
    const Raster form = planesOf(
        makeRaster(plan, [&](auto, std::uint32_t x, std::uint32_t y) { return static_cast<int>(exact(x, y)); }));
    EXPECT_EQ(form.chromaSiting, ChromaSiting::left);
    expectRamp(form, across, down, 0, 0.5);
  }
}

TEST_F(PixelEncodingForm, KeepsTheSitingOfSubsampledColorDifferences) {
  for (const auto& [siting, left] : {std::pair{ChromaSiting::left, 0.0}, {ChromaSiting::centre, 0.5}}) {
    RasterPlan plan = differences(2, 1, {2, 2, 6, true}, 10);
    plan.siting = siting;
    const double start = left;
    const auto sample = [&](std::size_t i, std::uint32_t x, std::uint32_t y) {
      return i == 0 ? 500 : static_cast<int>(300 + 4 * (2 * x + start) + 6 * y);
    };
    const Raster form = planesOf(makeRaster(plan, sample));
    EXPECT_EQ(form.chromaSiting, siting);
    expectRamp(form, 4, 6, start, 0.5);
  }
}

TEST_F(PixelEncodingForm, MovesColorDifferencesUnderACropThatBeginsAtAnOddSample) {
  RasterPlan plan = differences(2, 2, {2, 2, 6, true}, 10);
  plan.width = 40;
  plan.height = 24;
  const auto sample = [](std::size_t i, std::uint32_t x, std::uint32_t y) {
    return i == 0 ? noise(10)(0, x, y) : static_cast<int>(300 + 3 * (2.0 * x - 1) + 4 * (2 * y + 0.5 - 1));
  };
  Raster raster = makeRaster(plan, sample);
  raster.width = raster.components[0].width = 38;
  raster.height = raster.components[0].height = 22;
  raster.chromaPhase = {1, 1};
  const Raster form = planesOf(raster);
  EXPECT_EQ(samplesOf(form.components[0], 10), samplesOf(raster.components[0], 10));
  EXPECT_EQ(form.chromaPhase, ChromaPhase());
  expectRamp(form, 3, 4, 0, 0.5);
}

TEST_F(PixelEncodingForm, KeepsMatrixAndLumaOfFullRange) {
  for (const std::uint16_t matrix : std::vector<std::uint16_t>{1, 6, 8, 9, 10, 200}) {
    for (const auto& [columns, rows] : {std::pair{1U, 1U}, {2U, 1U}, {1U, 2U}, {4U, 1U}}) {
      for (const int bits : {8, 10}) {
        const RasterPlan plan = differences(columns, rows, {1, 13, matrix, true}, bits);
        const Raster raster = makeRaster(plan, noise(bits));
        const Raster form = planesOf(raster);
        EXPECT_EQ(samplesOf(form.components[0], bits), samplesOf(raster.components[0], bits)) << matrix;
        EXPECT_EQ(form.coding, plan.coding);
      }
    }
  }
}

TEST_F(PixelEncodingForm, MakesFullRangeOfLimitedRange) {
  for (const int bits : {8, 10, 12}) {
    const int formBits = bits == 8 ? 8 : 10;
    const RasterPlan plan = differences(2, 1, {9, 16, 9, false}, bits);
    const int blue = 90 << (bits - 8), red = 150 << (bits - 8);
    const auto sample = [&](std::size_t i, std::uint32_t x, std::uint32_t y) {
      return i == 0 ? noise(bits)(0, x, y) : i == 1 ? blue : red;
    };
    const Raster form = planesOf(makeRaster(plan, sample));
    for (std::size_t i = 0; i < 3; ++i) {
      expectPlane(form.components[i], formBits, [&](std::uint32_t x, std::uint32_t y) {
        const Color samples{double(sample(0, x, y)), double(blue), double(red)};
        return quantised(normalised(samples, bits, false), formBits, true)[i];
      });
    }
    EXPECT_EQ(form.coding, (Cicp{9, 16, 9, true}));
  }
}

TEST_F(PixelEncodingForm, RoundsDeeperSamplesTo10Bits) {
  for (const int bits : {9, 12, 16}) {
    for (const SampleModel model : {SampleModel::grey, SampleModel::ycbcr}) {
      const RasterPlan plan{.model = model,
                            .width = 256,
                            .height = 256,
                            .bits = bits,
                            .alpha = true,
                            .chromaColumns = 2,
                            .chromaRows = 2,
                            .coding = {2, 2, 6, true}};
      const auto everyValue = [bits](auto, std::uint32_t x, std::uint32_t y) {
        return static_cast<int>(y * 256 + x) & greatest(bits);
      };
      const Raster form = planesOf(makeRaster(plan, everyValue));
      const auto exact = [&](std::uint32_t x, std::uint32_t y) {
        return everyValue(0, x, y) * 1023.0 / greatest(bits);
      };
      expectPlane(form.components[0], 10, exact);
      expectPlane(*form.alpha, 10, exact);
    }
  }
}

TEST_F(PixelEncodingForm, MakesFullRangeOfDeepGreyOfLimitedRange) {
  const RasterPlan plan{.model = SampleModel::grey, .width = 64, .height = 64, .bits = 12, .coding = {2, 2, 2, false}};
  const Raster form = planesOf(makeRaster(plan, noise(12)));
  expectPlane(form.components[0], 10,
              [](std::uint32_t x, std::uint32_t y) { return (noise(12)(0, x, y) - 256) / 3504.0 * 1023; });
  EXPECT_TRUE(form.coding.fullRange);
}

TEST_F(PixelEncodingForm, SeparatesInterleavedGreyAndAlpha) {
  const RasterPlan plan{.model = SampleModel::grey,
                        .width = 37,
                        .height = 23,
                        .interleaved = true,
                        .alpha = true,
                        .coding = {2, 2, 2, true}};
  const Raster raster = makeRaster(plan, noise(8));
  const Raster form = planesOf(raster);
  EXPECT_EQ(samplesOf(form), samplesOf(raster));
}

TEST_F(PixelEncodingForm, KeepsAlphaAndTheColorUnderIt) {
  for (const bool premultiplied : {false, true}) {
    const RasterPlan plan{
        .width = 37, .height = 23, .interleaved = true, .alpha = true, .premultiplied = premultiplied};
    const Raster raster = makeRaster(plan, noise(8));
    const Raster form = planesOf(raster);
    EXPECT_EQ(samplesOf(*form.alpha, 8), samplesOf(*raster.alpha, 8));
    expectPlane(form.components[0], 8, [](std::uint32_t x, std::uint32_t y) {
      return 0.299 * noise(8)(0, x, y) + 0.587 * noise(8)(1, x, y) + 0.114 * noise(8)(2, x, y);
    });
  }
}

TEST_F(PixelEncodingForm, TurnsGreenBlueRedIntoLumaAndDifferences) {
  const RasterPlan plan = differences(1, 1, {1, 13, 0, true});
  const Raster form = planesOf(makeRaster(plan, noise(8)));
  expectPlane(form.components[0], 8, [](std::uint32_t x, std::uint32_t y) {
    return 0.299 * noise(8)(2, x, y) + 0.587 * noise(8)(0, x, y) + 0.114 * noise(8)(1, x, y);
  });
  EXPECT_EQ(form.coding, (Cicp{1, 13, kBt601, true}));
}

TEST_F(PixelEncodingForm, TakesInkForTheComplementOfColor) {
  for (const int bits : {8, 16}) {
    const double white = greatest(bits);
    const RasterPlan plan{.model = SampleModel::cmyk, .width = 37, .height = 23, .bits = bits, .interleaved = true};
    const Raster form = planesOf(makeRaster(plan, noise(bits)));
    const int formBits = bits == 8 ? 8 : 10;
    const auto luma = [&](std::uint32_t x, std::uint32_t y) {
      const double paper = 1 - noise(bits)(3, x, y) / white;
      Color rgb{};
      for (std::size_t i = 0; i < 3; ++i) {
        rgb[i] = std::round((1 - noise(bits)(i, x, y) / white) * paper * white) / white;
      }
      return quantised(differencesOfRgb(rgb, kBt601), formBits, true)[0];
    };
    expectPlane(form.components[0], formBits, luma);
  }
}

TEST_F(PixelEncodingForm, MakesWhiteOfNoInkAndBlackOfBlackInk) {
  const auto sample = [](std::size_t i, std::uint32_t x, auto) { return i == 3 && x == 1 ? 255 : 0; };
  const Raster form = planesOf(makeRaster({.model = SampleModel::cmyk, .width = 2, .height = 1}, sample));
  EXPECT_THAT(samplesOf(form.components[0], 8), testing::ElementsAre(255, 0));
  EXPECT_THAT(samplesOf(form.components[1], 8), Each(128));
  EXPECT_THAT(samplesOf(form.components[2], 8), Each(128));
}

TEST_F(PixelEncodingForm, RefusesRastersThatDoNotFit) {
  const Raster good = makeRaster({.model = SampleModel::ycbcr, .width = 8, .height = 8, .alpha = true}, noise(8));
  ASSERT_TRUE(formOf(good));
  const std::pair<const char*, std::function<void(Raster&)>> cases[] = {
      {"no columns", [](Raster& r) { r.width = 0; }},
      {"more pixels than any image", [](Raster& r) { r.width = r.height = 0xFFFFFFFF; }},
      {"7 bits", [](Raster& r) { r.bitsPerComponent = 7; }},
      {"17 bits", [](Raster& r) { r.bitsPerComponent = 17; }},
      {"a component missing", [](Raster& r) { r.components.pop_back(); }},
      {"four components of grey", [](Raster& r) { r.model = SampleModel::grey; }},
      {"no memory", [](Raster& r) { r.components[0].firstSample = nullptr; }},
      {"an eighth of the columns", [](Raster& r) { r.components[1].width = r.components[2].width = 1; }},
      {"narrow alpha", [](Raster& r) { r.alpha->width = 7; }},
  };
  for (const auto& [why, spoil] : cases) {
    Raster bad = good;
    spoil(bad);
    EXPECT_FALSE(formOf(bad)) << why;
  }
}

}  // namespace
}  // namespace quellor
