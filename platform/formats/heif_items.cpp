#include "platform/formats/heif_items.h"

#include <algorithm>
#include <utility>

#include "platform/formats/av1_items.h"
#include "platform/formats/chroma_siting.h"
#include "platform/formats/heif_alpha.h"
#include "platform/formats/heif_grid.h"
#include "platform/formats/heif_overlay.h"
#include "platform/formats/hevc_items.h"
#include "platform/formats/jpeg_items.h"
#include "platform/formats/planes.h"
#include "platform/heif/auxiliary_type.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"

namespace quellor::formats {
namespace {

using heif::fourCC;

Outcome<Raster> decodeCoded(const heif::Container& container, const heif::Item& item, Samples samples,
                            unsigned threads) {
  switch (item.type) {
    case fourCC("hvc1"):
    case fourCC("hev1"):
      return samples == Samples::decoded ? decodeHevcItem(container, item, threads)
                                         : proveHevcItem(container, item, threads);
    case fourCC("av01"):
      return decodeAv1Item(container, item, threads);
    case fourCC("jpeg"):
      return decodeJpegItem(container, item);
    default:
      return Refusal{"an item is of a kind that is not decoded"};
  }
}

/// Whether the samples are as many as the file says, in planes that belong together.
bool isAsDeclared(const heif::Container& container, const heif::Item& item, const Raster& raster) {
  const auto size = heif::spatialExtents(container, item);
  const PlaneLayout layout = layoutOf(raster);
  return size && size->width == raster.width && size->height == raster.height && layout.across != 0 && layout.down != 0;
}

}  // namespace

bool needsSamples(const heif::Container& container, const heif::Item& image) {
  const auto items = heif::itemsNeededFor(container, image);
  const auto isProvable = [](const heif::Item* item) {
    return item->type == fourCC("hvc1") || item->type == fourCC("hev1") || item->type == fourCC("grid") ||
           item->type == fourCC("iden");
  };
  return !items || !std::all_of(items->begin(), items->end(), isProvable);
}

Outcome<DecodedImage> ItemDecoder::samplesOf(const heif::Item& item, unsigned threads) const {
  switch (item.type) {
    case fourCC("grid"):
      return decodeGrid(*this, item, threads);
    case fourCC("iovl"):
      return decodeOverlay(*this, item, threads);
    case fourCC("iden"):
      return identityOf(item, threads);
    default:
      break;
  }
  auto raster = decodeCoded(container_, item, samples_, threads);
  if (!raster) return raster.refusal();
  if (!isAsDeclared(container_, item, *raster)) return Refusal{"the samples are not as the file declares them"};
  raster->chromaSiting = chromaSitingOf(container_, item);
  return DecodedImage{std::move(*raster)};
}

Outcome<DecodedImage> ItemDecoder::identityOf(const heif::Item& item, unsigned threads) const {
  const auto inputs = container_.referencesFrom(item.id, fourCC("dimg"));
  if (inputs.size() != 1) return Refusal{"an identity has not one input"};
  return decode(input(inputs.front()), Transformations::all, threads);
}

Outcome<DecodedImage> ItemDecoder::decode(const heif::Item& item, Transformations which, unsigned threads) const {
  auto image = samplesOf(item, threads);
  if (!image) return image.refusal();
  if (const auto coding = heif::cicpOf(container_, item)) image->raster.coding = *coding;
  const heif::Item* const alphaItem = heif::alphaImageOf(container_, item.id);
  if (alphaItem == nullptr) return transformed(std::move(*image), container_, item, which);
  auto alpha = samplesOf(*alphaItem, threads);
  if (!alpha) return alpha.refusal();
  return withAlpha({std::move(*image), item}, {std::move(*alpha), *alphaItem}, container_, which);
}

}  // namespace quellor::formats
