#include <optional>
#include <utility>

#include "platform/codecs/codec_module.h"
#include "platform/codecs/jpeg_decode.h"
#include "platform/codecs/jpeg_markers.h"
#include "platform/codecs/jpeg_multi_picture.h"
#include "platform/codecs/jpeg_session.h"

namespace quellor::jpeg {
namespace {

ColorModel colorModelOf(SampleModel model) {
  switch (model) {
    case SampleModel::grey:
      return ColorModel::grey;
    case SampleModel::cmyk:
      return ColorModel::cmyk;
    default:
      return ColorModel::rgb;
  }
}

PropertyDictionary jfifProperties(const Jfif& jfif) {
  PropertyDictionary dictionary;
  dictionary.set("JFIFVersion", PropertyList{jfif.majorVersion, jfif.minorVersion});
  dictionary.set("DensityUnit", jfif.densityUnit);
  dictionary.set("XDensity", jfif.xDensity);
  dictionary.set("YDensity", jfif.yDensity);
  return dictionary;
}

std::optional<EncodedFacts> describeFile(ByteView file) {
  Session session(file);
  if (!session.readHeader()) return std::nullopt;
  const auto model = sampleModelOf(session);
  if (!model) return std::nullopt;
  EncodedFacts facts;
  facts.width = session.info().image_width;
  facts.height = session.info().image_height;
  facts.colorModel = colorModelOf(*model);
  ApplicationSegments segments = readApplicationSegments(file);
  if (segments.multiPicture) facts.imageCount = countPictures(file, *segments.multiPicture);
  facts.iccProfile = std::move(segments.iccProfile);
  facts.metadata = std::move(segments.metadata);
  if (segments.jfif) {
    facts.formatProperties.set(property_key::kJfif, jfifProperties(*segments.jfif));
    if (const auto dpi = segments.jfif->dpi()) {
      facts.dpiWidth = dpi->first;
      facts.dpiHeight = dpi->second;
    }
  }
  return facts;
}

}  // namespace
}  // namespace quellor::jpeg

QUELLOR_CODEC_MODULE(quellor::jpeg::describeFile, quellor::jpeg::decodeFile)
