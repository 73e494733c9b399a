#include "platform/codecs/heic_encoder_settings.h"

#include <cmath>

#include "platform/codecs/heic_encoder.h"
#include "platform/pixels/screen_content.h"

namespace quellor {
namespace {

/// One picture: nothing to look ahead to; rows of wavefronts, so that it decodes on several threads.
const EncoderSettings& forOnePicture() {
  static const EncoderSettings settings = {{"x265:bframes", "0"},
                                           {"x265:scenecut", "0"},
                                           {"x265:rc-lookahead", "1"},
                                           {"x265:frame-threads", "1"},
                                           {"x265:wpp", "1"}};
  return settings;
}

/// Photos: two fifths of the time of libheif's default for 2 to 5 % more bytes. What costs the other three fifths is
/// weighing every coefficient by its rate.
const EncoderSettings& forPhotos() {
  static const EncoderSettings settings = {{"preset", "fast"}, {"x265:rd", "1"}};
  return settings;
}

/// Rendered text and lines: transform skip codes an edge for what it is, once the encoder weighs it by its rate (rd 3
/// and above, rdoq-level 2). Stronger adaptive quantisation would spend the gain on the ground behind the letters.
const EncoderSettings& forScreenContent() {
  static const EncoderSettings settings = {
      {"preset", "medium"}, {"x265:tskip", "1"}, {"x265:rdoq-level", "2"}, {"x265:aq-strength", "0.7"}};
  return settings;
}

void append(EncoderSettings& settings, const EncoderSettings& more) {
  settings.insert(settings.end(), more.begin(), more.end());
}

}  // namespace

EncoderSettings encoderSettingsFor(const Raster& raster, double quality) {
  EncoderSettings settings = looksLikeScreenContent(raster) ? forScreenContent() : forPhotos();
  append(settings, forOnePicture());
  settings.emplace_back("x265:crf", std::to_string(rateFactorFor(quality)));
  // Nothing signalled means left (ITU-T H.265, E.3.1).
  if (raster.model == SampleModel::ycbcr && raster.chromaSiting != ChromaSiting::left) {
    settings.emplace_back("x265:chromaloc", std::to_string(static_cast<int>(raster.chromaSiting)));
  }
  return settings;
}

double rateFactorFor(double quality) { return 48.0 - 32.0 * quality - 10.0 * std::pow(quality, 12.0); }

}  // namespace quellor
