#include "platform/heif/auxiliary_type.h"

#include <string_view>

#include "platform/heif/item_properties.h"

namespace quellor::heif {
namespace {

bool isAlpha(std::string_view urn) {
  return urn == "urn:mpeg:hevc:2015:auxid:1" || urn == "urn:mpeg:avc:2015:auxid:1" ||
         urn == "urn:mpeg:mpegB:cicp:systems:auxiliary:alpha";
}

}  // namespace

std::optional<AuxiliaryType> auxiliaryTypeOf(const Container& container, const Item& item) {
  const Property* const property = findProperty(container, item, fourCC("auxC"));
  if (property == nullptr || property->payload.size() < 4) return std::nullopt;
  ByteReader reader(property->payload.subspan(4));
  AuxiliaryType type;
  type.urn = reader.text();
  type.subtype = reader.rest();
  return type;
}

const Item* alphaImageOf(const Container& container, ItemId image) {
  for (const Item* auxiliary : container.itemsReferringTo(image, fourCC("auxl"))) {
    const auto type = auxiliaryTypeOf(container, *auxiliary);
    if (type && isAlpha(type->urn)) return auxiliary;
  }
  return nullptr;
}

}  // namespace quellor::heif
