// What the encoder is asked for, by quality and by what a picture is.

#include "platform/formats/heic_encoder_settings.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "platform/formats/heic_encoder.h"
#include "tests/support/raster_fixture.h"

namespace quellor {
namespace {

Raster photoOf(SampleModel model) {
  test_support::RasterPlan plan;
  plan.model = model;
  plan.width = plan.height = 64;
  plan.chromaColumns = plan.chromaRows = 2;
  return makeRaster(plan, test_support::noise(8));
}

/// The last one counts. Empty where there is none.
std::string valueOf(const EncoderSettings& settings, const std::string& name) {
  const auto found = std::find_if(settings.options.rbegin(), settings.options.rend(),
                                  [&](const auto& option) { return option.first == name; });
  return found == settings.options.rend() ? "" : found->second;
}

TEST(RateFactor, FallsStrictlyWithTheQualityAndStaysWithinWhatTheEncoderTakes) {
  constexpr double kCoarsest = 51;
  double last = kCoarsest;
  for (int hundredths = 0; hundredths <= 100; ++hundredths) {
    const double factor = rateFactorFor(hundredths / 100.0);
    EXPECT_LT(factor, last) << hundredths;
    EXPECT_GT(factor, 0) << "lossless";
    last = factor;
  }
}

TEST(EncoderSettings, QuantizeColorMoreFinelyThanLumaTheMoreTheHigherTheQuality) {
  const Raster photo = photoOf(SampleModel::ycbcr);
  int last = 1;
  for (const double quality : {0.0, 0.3, 0.6, 1.0}) {
    const EncoderSettings settings = encoderSettingsFor(photo, quality, PictureRole::image);
    const int blue = std::stoi(valueOf(settings, "cbqpoffs")), red = std::stoi(valueOf(settings, "crqpoffs"));
    EXPECT_LT(blue, last) << quality;
    EXPECT_LE(blue, red) << quality;
    EXPECT_LE(red, 0) << quality;
    EXPECT_GE(blue, -12) << "ITU-T H.265, 7.4.3.3.1";
    last = blue;
  }
}

TEST(EncoderSettings, SpeakOfNoColorWhereThereIsNone) {
  const Raster grey = photoOf(SampleModel::grey);
  for (const PictureRole role : {PictureRole::image, PictureRole::alpha}) {
    const EncoderSettings settings = encoderSettingsFor(grey, 0.8, role);
    EXPECT_EQ(valueOf(settings, "cbqpoffs"), "");
    EXPECT_EQ(valueOf(settings, "crqpoffs"), "");
  }
}

}  // namespace
}  // namespace quellor
