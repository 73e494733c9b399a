#include "platform/formats/heic_encoder_settings.h"

#include <algorithm>
#include <cmath>

#include "platform/formats/heic_encoder.h"
#include "platform/pixels/screen_content.h"

namespace quellor {
namespace {

using Options = std::vector<std::pair<std::string, std::string>>;

void append(Options& options, const Options& more) { options.insert(options.end(), more.begin(), more.end()); }

/// Every way to split a block is tried, and the eye's tolerance counts moderately: of what the presets change, this
/// stays the same for all of them. What follows it for photos or for screens overrides it.
const Options& forStillPictures() {
  static const Options options = {{"info", "0"},       {"limit-modes", "0"},   {"limit-refs", "0"}, {"rskip", "0"},
                                  {"rect", "1"},       {"amp", "1"},           {"aq-mode", "1"},    {"psy-rd", "1.0"},
                                  {"psy-rdoq", "1.0"}, {"tu-intra-depth", "2"}};
  return options;
}

/// One picture: nothing to look ahead to; rows of wavefronts, so that it decodes on several threads.
const Options& forOnePicture() {
  static const Options options = {
      {"bframes", "0"}, {"scenecut", "0"}, {"rc-lookahead", "1"}, {"frame-threads", "1"}, {"wpp", "1"}};
  return options;
}

/// Photos: less than half of the time of the encoder's usual effort, most of which is weighing every coefficient by its
/// rate. Fine detail is quantized more coarsely than the rest (the default scaling lists), the dark parts more finely;
/// the filters behind the transform, which soften, are weak or off.
const Options& forPhotos() {
  static const Options options = {{"rd", "1"},         {"tu-intra-depth", "1"}, {"scaling-list", "default"},
                                  {"aq-mode", "3"},    {"aq-strength", "1.0"},  {"sao", "0"},
                                  {"deblock", "-2:-2"}};
  return options;
}

/// Rendered text and lines: transform skip codes an edge for what it is, once the encoder weighs it by its rate (rd 3
/// and above, rdoq-level 2). Stronger adaptive quantization would spend the gain on the ground behind the letters.
const Options& forScreenContent() {
  static const Options options = {{"tskip", "1"}, {"rdoq-level", "2"}, {"aq-strength", "0.4"}};
  return options;
}

/// Eyes miss more color than an encoder thinks that works for luma alone: blue differences are quantized more finely
/// than luma, red ones by half as much. Not at low rates, where the format does so by itself (ITU-T H.265, table 8-10).
Options chromaOffsets(double rateFactor) {
  const int blue = std::clamp(static_cast<int>(std::lround((50.0 - rateFactor) / 5.0)), 0, 5);
  return {{"cbqpoffs", std::to_string(-blue)}, {"crqpoffs", std::to_string(-(blue / 2))}};
}

/// What the bitstream says of the samples. Alpha has no colour.
Options signalling(const Raster& raster, PictureRole role) {
  if (role == PictureRole::alpha) return {{"range", "full"}};
  Options options = {{"range", raster.coding.fullRange ? "full" : "limited"},
                     {"colorprim", std::to_string(raster.coding.colorPrimaries)},
                     {"transfer", std::to_string(raster.coding.transferCharacteristics)},
                     {"colormatrix", std::to_string(raster.coding.matrixCoefficients)}};
  // Nothing signalled means left (ITU-T H.265, E.3.1).
  if (raster.model == SampleModel::ycbcr && raster.chromaSiting != ChromaSiting::left) {
    options.emplace_back("chromaloc", std::to_string(static_cast<int>(raster.chromaSiting)));
  }
  return options;
}

constexpr std::uint64_t kMaximumPicture = 24'000'000;
constexpr std::uint64_t kMaximumTile = std::uint64_t{1} << 24;
constexpr std::uint32_t kTileUnit = 64;
constexpr std::uint32_t kMaximumColumns = 256;  // ISO/IEC 23008-12, 6.6.2.3.2

std::uint32_t tilesFor(std::uint32_t size, std::uint32_t tile) { return (size + tile - 1) / tile; }

/// The least multiple of the unit of which that many cover the size.
std::uint32_t tileSizeFor(std::uint32_t size, std::uint32_t tiles) {
  return tilesFor(tilesFor(size, tiles), kTileUnit) * kTileUnit;
}

/// Few tiles are better than many, and of as many, nearly square ones have the shortest seams.
std::pair<std::uint64_t, std::uint64_t> costOf(const EncodingGrid& grid) {
  const std::uint64_t tiles = std::uint64_t{grid.columns} * grid.rows;
  return {tiles, tiles * (std::uint64_t{grid.tileWidth} + grid.tileHeight)};
}

}  // namespace

EncoderSettings encoderSettingsFor(const Raster& raster, double quality, PictureRole role) {
  const bool screen = looksLikeScreenContent(raster);
  EncoderSettings settings{screen ? "medium" : "fast", "ssim",
                           raster.bitsPerComponent == 8 ? "mainstillpicture" : "main10-intra", forStillPictures()};
  settings.options.emplace_back("ctu", std::to_string(kCodingTreeUnit));
  append(settings.options, signalling(raster, role));
  append(settings.options, screen ? forScreenContent() : forPhotos());
  append(settings.options, forOnePicture());
  const double rateFactor = rateFactorFor(quality);
  if (raster.model != SampleModel::grey) append(settings.options, chromaOffsets(rateFactor));
  settings.options.emplace_back("crf", std::to_string(rateFactor));
  return settings;
}

EncodingGrid encodingGridFor(std::uint32_t width, std::uint32_t height) {
  if (std::uint64_t{width} * height <= kMaximumPicture) return {1, 1, width, height};
  EncodingGrid best;
  for (std::uint32_t columns = 1; columns <= kMaximumColumns; ++columns) {
    const std::uint32_t tileWidth = tileSizeFor(width, columns);
    const auto tallest = static_cast<std::uint32_t>(kMaximumTile / tileWidth) / kTileUnit * kTileUnit;
    if (tallest == 0) continue;
    const std::uint32_t tileHeight = tileSizeFor(height, tilesFor(height, tallest));
    const EncodingGrid grid{tilesFor(width, tileWidth), tilesFor(height, tileHeight), tileWidth, tileHeight};
    if (best.columns == 0 || costOf(grid) < costOf(best)) best = grid;
  }
  return best;
}

double rateFactorFor(double quality) { return 50.5 - 32.6 * quality - 8.0 * std::pow(quality, 12.0); }

}  // namespace quellor
