#include "protocol/response_encoder.h"

#include <cmath>
#include <string_view>

#include <nlohmann/json.hpp>

namespace quellor {
namespace {

/// Objects of this type keep their keys in ascending order.
using Json = nlohmann::json;

template <typename T>
void put(Json& object, const char* key, const std::optional<T>& value) {
  if (value) object[key] = *value;
}

Json jsonOf(const ImageObservation& observation) {
  Json object = Json::object();
  put(object, "bytes", observation.bytes);
  put(object, "imageCount", observation.imageCount);
  put(object, "width", observation.width);
  put(object, "height", observation.height);
  put(object, "bitDepth", observation.bitDepth);
  put(object, "orientation", observation.orientation);
  put(object, "colorSpaceName", observation.colorSpaceName);
  put(object, "iccProfileBytes", observation.iccProfileBytes);
  put(object, "iccProfileSHA256", observation.iccProfileSHA256);
  put(object, "metadataKeys", observation.metadataKeys);
  put(object, "auxiliaryTypes", observation.auxiliaryTypes);
  put(object, "auxiliaryObservation", observation.auxiliaryObservation);
  put(object, "path", observation.path);
  put(object, "decodeValidated", observation.decodeValidated);
  return object;
}

Json jsonOf(const StorageExportInfo& info) {
  Json object = {{"rawPath", info.rawPath},
                 {"width", info.width},
                 {"height", info.height},
                 {"bytesPerPixel", info.bytesPerPixel},
                 {"orientationApplied", info.orientationApplied},
                 {"alphaInfo", info.alphaInfo}};
  put(object, "colorSpaceName", info.colorSpaceName);
  put(object, "iccProfileSHA256", info.iccProfileSHA256);
  return object;
}

Json jsonOf(const HelperResponse& response) {
  Json object = {{"protocolVersion", response.protocolVersion},
                 {"success", response.success},
                 {"operation", response.operation},
                 {"elapsedMilliseconds", response.elapsedMilliseconds}};
  put(object, "quality", response.quality);
  if (response.input) object["input"] = jsonOf(*response.input);
  if (response.output) object["output"] = jsonOf(*response.output);
  if (response.storageExport) object["storageExport"] = jsonOf(*response.storageExport);
  put(object, "removedItems", response.removedItems);
  put(object, "warnings", response.warnings);
  if (response.error) object["error"] = {{"code", response.error->code}, {"message", response.error->message}};
  return object;
}

/// Escapes slashes in a finished document. Outside of strings JSON has none.
std::string withEscapedSlashes(std::string_view document) {
  std::string escaped;
  escaped.reserve(document.size() + 16);
  for (const char character : document) {
    if (character == '/') escaped += '\\';
    escaped += character;
  }
  return escaped;
}

}  // namespace

std::string encodeResponse(const HelperResponse& response) {
  // The JSON library writes null for these, and a null would read as an absent quality.
  if (response.quality && !std::isfinite(*response.quality)) throw EncodingFailure("quality is not finite");
  try {
    return withEscapedSlashes(jsonOf(response).dump());
  } catch (const Json::exception& error) {
    throw EncodingFailure(error.what());
  }
}

}  // namespace quellor
