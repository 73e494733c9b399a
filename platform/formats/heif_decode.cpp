#include "platform/formats/heif_decode.h"

#include <utility>

#include "platform/formats/heif_checks.h"
#include "platform/formats/heif_items.h"
#include "platform/formats/parallel.h"
#include "platform/heif/container_reader.h"

namespace quellor::heif {

std::optional<Raster> decodePrimaryImage(ByteView file) {
  const auto container = readContainer(file);
  if (!container) return std::nullopt;
  const Item& primary = *container->find(container->primaryItem);
  if (!formats::mayBeDecoded(*container, primary)) return std::nullopt;
  const formats::ItemDecoder decoder(*container);
  auto image = decoder.decode(primary, formats::Transformations::cleanApertureOnly, formats::processors());
  if (!image) return std::nullopt;
  return formats::sitedOnLeft(std::move(*image));
}

}  // namespace quellor::heif
