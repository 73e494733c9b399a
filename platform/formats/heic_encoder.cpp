#include "platform/formats/heic_encoder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/formats/heic_encoder_seams.h"
#include "platform/formats/heic_encoder_settings.h"
#include "platform/formats/hevc_configuration.h"
#include "platform/formats/hevc_modules.h"
#include "platform/formats/planes.h"
#include "platform/formats/transformations.h"
#include "platform/heif/encoded_image.h"
#include "platform/hevc/hevc.h"
#include "platform/threads/threads.h"

namespace quellor {
namespace {

/// A copy of the components in planes of the coded size, their last column and row repeated.
Raster padded(const Raster& raster, heif::ImageSize coded) {
  const bool grey = raster.model == SampleModel::grey;
  const formats::PlaneLayout layout{raster.model, grey ? 1U : 2U, grey ? 1U : 2U, raster.bitsPerComponent};
  const formats::Planes planes(layout, coded.width, coded.height, false);
  const std::size_t sampleBytes = bytesPerSample(raster.bitsPerComponent);
  for (std::size_t i = 0; i < raster.components.size(); ++i) {
    const Component& from = raster.components[i];
    const Component& to = planes.raster().components[i];
    for (std::uint32_t y = 0; y < to.height; ++y) {
      std::uint8_t* const out = planes.at(i, 0, y);
      std::memcpy(out, from.firstSample + std::min(y, from.height - 1) * from.strideBytes, from.width * sampleBytes);
      for (std::uint32_t x = from.width; x < to.width; ++x) {
        std::memcpy(out + x * sampleBytes, out + (from.width - 1) * sampleBytes, sampleBytes);
      }
    }
  }
  return planes.raster();
}

/// The units of one picture, gathered behind the encoder's back: no exception may cross it.
struct Units {
  Bytes parameterSets[3];
  std::size_t setCount = 0;
  Bytes slices;  // behind their lengths

  void take(ByteView unit) {
    const unsigned type = (unit[0] >> 1) & 0x3FU;
    if (type >= hevc::kFirstParameterSetUnit) {
      if (setCount < std::size(parameterSets)) parameterSets[setCount++].assign(unit.begin(), unit.end());
      return;
    }
    for (const int shift : {24, 16, 8, 0}) slices.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
    slices.insert(slices.end(), unit.begin(), unit.end());
  }
};

bool takeUnit(void* receiver, const std::uint8_t* unit, std::size_t size) {
  try {
    static_cast<Units*>(receiver)->take({unit, size});
    return true;
  } catch (...) {
    return false;
  }
}

/// Threads for the encoder's pool: one for each processor, or none where they cannot be had. Absent where not even the
/// one thread can be started that the encoder always needs: it would wait for it forever.
std::optional<std::string> threadPool() {
  constexpr unsigned kMaximum = 16;
  constexpr unsigned kFrameThreads = 1;
  constexpr unsigned kSpare = 2;  // other processes of the same user may start one until the encoder does
  const unsigned pool = std::min(processors(), kMaximum);
  const unsigned wanted = pool + kFrameThreads + kSpare;
  const unsigned startable = startableThreads(wanted);
  if (startable == wanted) return std::to_string(pool);
  return startable >= kFrameThreads ? std::optional<std::string>("none") : std::nullopt;
}

HevcEncoderJob jobFor(const Raster& planes, const EncoderSettings& settings,
                      const std::vector<HevcEncoderOption>& options) {
  HevcEncoderJob job;
  job.width = planes.width;
  job.height = planes.height;
  job.bits = planes.bitsPerComponent;
  job.grey = planes.model == SampleModel::grey;
  for (std::size_t i = 0; i < planes.components.size(); ++i) {
    job.planes[i] = planes.components[i].firstSample;
    job.strideBytes[i] = planes.components[i].strideBytes;
  }
  job.preset = settings.preset.c_str();
  job.tuning = settings.tuning.c_str();
  job.profile = settings.profile.c_str();
  job.options = options.data();
  job.optionCount = options.size();
  return job;
}

/// `raster` is planar, grey or 4:2:0; `offsets` are those of HevcEncoderJob, or empty.
std::optional<heif::EncodedPicture> encodePicture(const Raster& raster, EncoderSettings settings, heif::ImageSize coded,
                                                  const std::vector<float>& offsets) {
  const HevcEncoder& encoder = formats::hevcEncoder();
  const auto pool = threadPool();
  if (!pool) return std::nullopt;
  settings.options.emplace_back("pools", *pool);
  std::vector<HevcEncoderOption> options;
  for (const auto& [name, value] : settings.options) options.push_back({name.c_str(), value.c_str()});

  const bool asItIs = raster.width == coded.width && raster.height == coded.height;
  const Raster planes = asItIs ? raster : padded(raster, coded);
  HevcEncoderJob job = jobFor(planes, settings, options);
  if (!offsets.empty()) job.quantizationOffsets = offsets.data();
  Units units;
  if (!encoder.encode(&job, takeUnit, &units) || units.slices.empty()) return std::nullopt;
  const std::vector<ByteView> sets(units.parameterSets, units.parameterSets + units.setCount);
  auto configuration = formats::hevcConfigurationBox(sets);
  if (!configuration) return std::nullopt;
  return heif::EncodedPicture{std::move(*configuration), std::move(units.slices)};
}

/// One picture, or the tiles of a grid one after the other: what an encoder needs is in proportion to its picture.
std::optional<heif::EncodedTiles> encodeTiles(const Raster& raster, const EncoderSettings& settings,
                                              const EncodingGrid& grid) {
  heif::EncodedTiles tiles;
  for (std::uint32_t row = 0; row < grid.rows; ++row) {
    for (std::uint32_t column = 0; column < grid.columns; ++column) {
      const std::uint32_t left = column * grid.tileWidth, top = row * grid.tileHeight;
      Raster tile = raster;
      formats::crop(tile, {left, top, std::min(grid.tileWidth, raster.width - left),
                           std::min(grid.tileHeight, raster.height - top)});
      auto picture =
          encodePicture(tile, settings, {grid.tileWidth, grid.tileHeight}, seamOffsetsFor(grid, column, row));
      if (!picture) return std::nullopt;
      tiles.push_back(std::move(*picture));
    }
  }
  return tiles;
}

Raster alphaOf(const Raster& raster) {
  Raster alpha = raster;
  alpha.model = SampleModel::grey;
  alpha.components = {*raster.alpha};
  alpha.alpha.reset();
  return alpha;
}

bool isEncodable(const Raster& raster) {
  const std::size_t step = bytesPerSample(raster.bitsPerComponent);
  const auto isPlanar = [step](const Component& component) { return component.stepBytes == step; };
  const bool grey = raster.model == SampleModel::grey;
  return (grey || raster.model == SampleModel::ycbcr) && raster.components.size() == (grey ? 1U : 3U) &&
         std::all_of(raster.components.begin(), raster.components.end(), isPlanar) &&
         (!raster.alpha || isPlanar(*raster.alpha));
}

}  // namespace

std::uint32_t codedSizeOf(std::uint32_t size) { return std::max(kCodingTreeUnit, (size + 1) & ~1U); }

std::optional<heif::OutputFile> encodeHeic(const Raster& raster, double quality) {
  return encodeHeic(raster, quality, encodingGridFor(codedSizeOf(raster.width), codedSizeOf(raster.height)));
}

std::optional<heif::OutputFile> encodeHeic(const Raster& raster, double quality, const EncodingGrid& grid) {
  if (!isEncodable(raster)) return std::nullopt;
  heif::EncodedImage image;
  image.size = {raster.width, raster.height};
  image.codedSize = {codedSizeOf(raster.width), codedSizeOf(raster.height)};
  image.tileSize = {grid.tileWidth, grid.tileHeight};
  image.columns = grid.columns;
  image.rows = grid.rows;
  image.bitsPerComponent = raster.bitsPerComponent;
  image.grey = raster.model == SampleModel::grey;
  image.coding = raster.coding;
  image.premultiplied = raster.premultiplied;
  auto tiles = encodeTiles(raster, encoderSettingsFor(raster, quality, PictureRole::image), grid);
  if (!tiles) return std::nullopt;
  image.tiles = std::move(*tiles);
  if (raster.alpha) {
    image.alpha = encodeTiles(alphaOf(raster), encoderSettingsFor(raster, quality, PictureRole::alpha), grid);
    if (!image.alpha) return std::nullopt;
  }
  return heif::fileOf(std::move(image));
}

}  // namespace quellor
