#include <utility>

#include "platform/formats/heif_checks.h"
#include "platform/formats/heif_items.h"
#include "platform/formats/image_format.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/heif_facts.h"
#include "platform/threads/threads.h"

namespace quellor::formats {

Outcome<ImageFacts> describeHeif(ByteView file) { return heif::factsOf(file); }

namespace {

Outcome<Raster> primaryImage(const heif::Container& container, const heif::Item& primary, Samples samples) {
  const ItemDecoder decoder(container, samples);
  auto image = decoder.decode(primary, Transformations::cleanApertureOnly, processors());
  if (!image) return image.refusal();
  return sitedOnLeft(std::move(*image));
}

}  // namespace

Outcome<Raster> decodeHeif(ByteView file) {
  const auto container = heif::readContainer(file);
  if (!container) return container.refusal();
  const heif::Item& primary = *container->find(container->primaryItem);
  if (const auto refusal = refusalToDecode(*container, primary)) return *refusal;
  return primaryImage(*container, primary, Samples::decoded);
}

Outcome<Look> lookAtHeif(ByteView file) {
  const auto container = heif::readContainer(file);
  if (!container) return container.refusal();
  const heif::Item& primary = *container->find(container->primaryItem);
  if (const auto refusal = refusalToDecode(*container, primary)) return *refusal;
  const Samples samples = needsSamples(*container, primary) ? Samples::decoded : Samples::proved;
  auto raster = primaryImage(*container, primary, samples);
  if (!raster) return raster.refusal();
  const RasterShape shape = shapeOf(*raster);
  return Look{shape, raster->hasSamples() ? std::optional(std::move(*raster)) : std::nullopt};
}

}  // namespace quellor::formats
