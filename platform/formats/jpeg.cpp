#include <optional>
#include <utility>

#include "platform/formats/image_format.h"
#include "platform/formats/jpeg_decode.h"
#include "platform/formats/jpeg_markers.h"
#include "platform/formats/jpeg_multi_picture.h"
#include "platform/formats/jpeg_session.h"

namespace quellor::formats {
using namespace jpeg;

Outcome<ImageFacts> describeJpeg(ByteView file) {
  Session session(file);
  if (!session.readHeader()) return Refusal{"the header is broken or of an unknown coding"};
  const auto model = sampleModelOf(session);
  if (!model) return Refusal{"the coding means no known color model"};
  ImageFacts facts;
  facts.width = session.info().image_width;
  facts.height = session.info().image_height;
  facts.colorModel = colorModelOf(*model);
  ApplicationSegments segments = readApplicationSegments(file);
  if (segments.multiPicture) facts.imageCount = countPictures(file, *segments.multiPicture);
  facts.iccProfile = std::move(segments.iccProfile);
  facts.metadata = std::move(segments.metadata);
  if (segments.jfif) {
    facts.formatDictionary = FormatDictionary::jfif;
    if (const auto& dpi = segments.jfif->dpi) {
      facts.dpiWidth = dpi->first;
      facts.dpiHeight = dpi->second;
    }
  }
  return facts;
}

}  // namespace quellor::formats
