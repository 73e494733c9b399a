#include "tests/samples/hevc_coding.h"

#include <memory>
#include <stdexcept>

#include <x265.h>

#include "platform/formats/hevc_configuration.h"

namespace quellor::samples {
namespace {

using Parameters = std::unique_ptr<x265_param, void (*)(x265_param*)>;
using Encoder = std::unique_ptr<x265_encoder, void (*)(x265_encoder*)>;
using Picture = std::unique_ptr<x265_picture, void (*)(x265_picture*)>;

void require(bool condition, const std::string& what) {
  if (!condition) throw std::runtime_error("x265: " + what);
}

int formatOf(const Raster& raster) {
  if (raster.model == SampleModel::grey) return X265_CSP_I400;
  const Component& differences = raster.components.at(1);
  if (differences.height < raster.height) return X265_CSP_I420;
  return differences.width < raster.width ? X265_CSP_I422 : X265_CSP_I444;
}

void set(const x265_api& api, x265_param& parameters, const char* name, const std::string& value) {
  require(api.param_parse(&parameters, name, value.c_str()) == 0, name);
}

void setTools(const x265_api& api, x265_param& parameters, const HevcSettings& settings) {
  set(api, parameters, "crf", std::to_string(settings.rateFactor));
  set(api, parameters, "ctu", std::to_string(settings.treeUnit));
  set(api, parameters, "info", "0");
  set(api, parameters, "frame-threads", "1");
  set(api, parameters, "pools", settings.wavefronts ? "2" : "none");  // without threads there are no wavefronts
  set(api, parameters, "wpp", settings.wavefronts ? "1" : "0");
  set(api, parameters, "slices", std::to_string(settings.slices));
  for (const auto& [name, value] : settings.more) set(api, parameters, name, value);
}

Parameters parametersFor(const x265_api& api, const Raster& raster, const HevcSettings& settings) {
  Parameters parameters(api.param_alloc(), api.param_free);
  require(api.param_default_preset(parameters.get(), "veryfast", nullptr) == 0, "preset");
  setTools(api, *parameters, settings);
  set(api, *parameters, "range", raster.coding.fullRange ? "full" : "limited");
  set(api, *parameters, "colorprim", std::to_string(raster.coding.colorPrimaries));
  set(api, *parameters, "transfer", std::to_string(raster.coding.transferCharacteristics));
  set(api, *parameters, "colormatrix", std::to_string(raster.coding.matrixCoefficients));
  parameters->fpsNum = parameters->fpsDenom = 1;
  parameters->totalFrames = 1;
  parameters->logLevel = X265_LOG_NONE;
  parameters->internalCsp = formatOf(raster);
  parameters->internalBitDepth = raster.bitsPerComponent;
  parameters->sourceWidth = static_cast<int>(raster.width);
  parameters->sourceHeight = static_cast<int>(raster.height);
  return parameters;
}

/// Parameter sets apart from slices, which get lengths of four bytes.
struct Units {
  std::vector<Bytes> sets;
  Bytes slices;
  int sliceCount = 0;

  void add(const x265_nal* units, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) add(units[i]);
  }

  void add(const x265_nal& coded) {
    std::uint32_t begin = 0;
    while (coded.payload[begin] == 0) ++begin;
    const Bytes unit(coded.payload + begin + 1, coded.payload + coded.sizeBytes);
    if (coded.type >= NAL_UNIT_VPS && coded.type <= NAL_UNIT_PPS) return sets.push_back(unit);
    if (coded.type < NAL_UNIT_VPS) ++sliceCount;
    for (const int shift : {24, 16, 8, 0}) slices.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
    slices.insert(slices.end(), unit.begin(), unit.end());
  }
};

Picture pictureOf(const x265_api& api, x265_param& parameters, const Raster& raster) {
  Picture picture(api.picture_alloc(), api.picture_free);
  api.picture_init(&parameters, picture.get());
  for (std::size_t i = 0; i < raster.components.size(); ++i) {
    picture->planes[i] = const_cast<std::uint8_t*>(raster.components[i].firstSample);
    picture->stride[i] = static_cast<int>(raster.components[i].strideBytes);
  }
  picture->bitDepth = raster.bitsPerComponent;
  return picture;
}

}  // namespace

test_support::CodedPicture codeWithLoss(const Raster& raster, const HevcSettings& settings) {
  const x265_api* const api = x265_api_get(raster.bitsPerComponent);
  require(api != nullptr, "depth");
  const Parameters parameters = parametersFor(*api, raster, settings);
  const Encoder encoder(api->encoder_open(parameters.get()), api->encoder_close);
  require(encoder != nullptr, "settings");
  const Picture picture = pictureOf(*api, *parameters, raster);
  Units units;
  x265_nal* coded = nullptr;
  std::uint32_t count = 0;
  require(api->encoder_headers(encoder.get(), &coded, &count) >= 0, "headers");
  units.add(coded, count);
  require(api->encoder_encode(encoder.get(), &coded, &count, picture.get(), nullptr) >= 0, "picture");
  units.add(coded, count);
  while (api->encoder_encode(encoder.get(), &coded, &count, nullptr, nullptr) > 0) units.add(coded, count);
  require(units.sliceCount == settings.slices, std::to_string(units.sliceCount) + " slices");
  auto configuration = formats::hevcConfigurationBox({units.sets.begin(), units.sets.end()});
  require(configuration.has_value(), "no configuration record");
  return {std::move(*configuration), units.slices};
}

}  // namespace quellor::samples
