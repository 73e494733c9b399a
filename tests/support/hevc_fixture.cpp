#include "tests/support/hevc_fixture.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <x265.h>

#include "platform/formats/hevc_configuration.h"

namespace quellor::test_support {
namespace {

int chromaFormatOf(const Raster& raster) {
  if (raster.model == SampleModel::grey) return X265_CSP_I400;
  const Component& blue = raster.components.at(1);
  if (blue.height < raster.height) return X265_CSP_I420;
  return blue.width < raster.width ? X265_CSP_I422 : X265_CSP_I444;
}

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(std::string("x265: ") + what);
}

class Units {
 public:
  void add(const x265_nal* units, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
      std::uint32_t begin = 0;
      while (units[i].payload[begin] == 0) ++begin;
      Bytes unit(units[i].payload + begin + 1, units[i].payload + units[i].sizeBytes);
      if (units[i].type >= NAL_UNIT_VPS && units[i].type <= NAL_UNIT_PPS) {
        sets_.push_back(std::move(unit));
        continue;
      }
      for (const int shift : {24, 16, 8, 0}) slices_.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
      slices_.insert(slices_.end(), unit.begin(), unit.end());
    }
  }

  [[nodiscard]] CodedPicture picture() const {
    auto configuration = formats::hevcConfigurationBox({sets_.begin(), sets_.end()});
    require(configuration.has_value(), "no configuration record");
    return {std::move(*configuration), slices_};
  }

 private:
  std::vector<Bytes> sets_;
  Bytes slices_;
};

}  // namespace

CodedPicture codeWithX265(const Raster& raster, const std::string& preset, const X265Options& options) {
  const x265_api* const api = x265_api_get(raster.bitsPerComponent);
  require(api != nullptr, "depth");
  const std::unique_ptr<x265_param, void (*)(x265_param*)> parameters(api->param_alloc(), api->param_free);
  require(api->param_default_preset(parameters.get(), preset.c_str(), nullptr) == 0, "preset");
  for (const auto& [name, value] : options) {
    require(api->param_parse(parameters.get(), name.c_str(), value.c_str()) == 0, name.c_str());
  }
  parameters->fpsNum = parameters->fpsDenom = 1;
  parameters->totalFrames = 1;
  parameters->logLevel = X265_LOG_NONE;
  parameters->internalCsp = chromaFormatOf(raster);
  parameters->internalBitDepth = raster.bitsPerComponent;
  parameters->sourceWidth = static_cast<int>(raster.width);
  parameters->sourceHeight = static_cast<int>(raster.height);
  const std::unique_ptr<x265_encoder, void (*)(x265_encoder*)> encoder(api->encoder_open(parameters.get()),
                                                                       api->encoder_close);
  require(encoder != nullptr, "settings");
  const std::unique_ptr<x265_picture, void (*)(x265_picture*)> picture(api->picture_alloc(), api->picture_free);
  api->picture_init(parameters.get(), picture.get());
  for (std::size_t i = 0; i < raster.components.size(); ++i) {
    picture->planes[i] = const_cast<std::uint8_t*>(raster.components[i].firstSample);
    picture->stride[i] = static_cast<int>(raster.components[i].strideBytes);
  }
  picture->bitDepth = raster.bitsPerComponent;

  Units units;
  x265_nal* coded = nullptr;
  std::uint32_t count = 0;
  require(api->encoder_headers(encoder.get(), &coded, &count) >= 0, "headers");
  units.add(coded, count);
  require(api->encoder_encode(encoder.get(), &coded, &count, picture.get(), nullptr) >= 0, "picture");
  units.add(coded, count);
  while (api->encoder_encode(encoder.get(), &coded, &count, nullptr, nullptr) > 0) units.add(coded, count);
  return units.picture();
}

CodedPicture codeLosslessly(const Raster& raster) {
  return codeWithX265(raster, "ultrafast",
                      {{"lossless", "1"},
                       {"ctu", "16"},
                       {"info", "0"},
                       {"pools", "none"},
                       {"frame-threads", "1"},
                       {"range", raster.coding.fullRange ? "full" : "limited"},
                       {"colorprim", std::to_string(raster.coding.colorPrimaries)},
                       {"transfer", std::to_string(raster.coding.transferCharacteristics)},
                       {"colormatrix", std::to_string(raster.coding.matrixCoefficients)}});
}

}  // namespace quellor::test_support
