#include "platform/formats/chroma_siting.h"

#include <vector>

#include "platform/formats/hevc_configuration.h"
#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"

namespace quellor::formats {
namespace {

using namespace heif;

constexpr ChromaSiting kInferred = ChromaSiting::left;

/// One of the types of ITU-T H.273, 8.7.
std::optional<ChromaSiting> sitingOfType(std::optional<unsigned> type) {
  if (!type || *type > static_cast<unsigned>(ChromaSiting::bottom)) return std::nullopt;
  return static_cast<ChromaSiting>(*type);
}

std::optional<ChromaSiting> fromHevc(ByteView payload) {
  const auto configuration = readHevcConfiguration(payload);
  const auto set = configuration ? sequenceParameterSetOf(*configuration) : std::nullopt;
  return set ? sitingOfType(set->usability.chromaLocation) : std::nullopt;
}

/// AV1CodecConfigurationRecord (AV1 in ISOBMFF, 2.3.3): the last two bits of byte 2.
std::optional<ChromaSiting> fromAv1(ByteView payload) {
  constexpr unsigned kColocated = 2;
  if (payload.size() < 3) return std::nullopt;
  return (payload[2] & 3U) == kColocated ? ChromaSiting::topLeft : ChromaSiting::left;
}

std::optional<ChromaSiting> fromProperty(const Container& container, const Item& item, FourCC type,
                                         std::optional<ChromaSiting> (*read)(ByteView)) {
  const Property* const property = findProperty(container, item, type);
  return property == nullptr ? std::nullopt : read(property->payload);
}

ChromaSiting sitingOfCoded(const Container& container, const Item& item) {
  switch (item.type) {
    case fourCC("hvc1"):
    case fourCC("hev1"):
      return fromProperty(container, item, fourCC("hvcC"), fromHevc).value_or(kInferred);
    case fourCC("av01"):
      return fromProperty(container, item, fourCC("av1C"), fromAv1).value_or(kInferred);
    case fourCC("jpeg"):
      return ChromaSiting::centre;
    default:
      return kInferred;
  }
}

}  // namespace

ChromaSiting chromaSitingOf(const Container& container, const Item& image) {
  for (const Item* each : itemsNeededFor(container, image).value_or(std::vector<const Item*>())) {
    if (!isDerivedImage(*each)) return sitingOfCoded(container, *each);
  }
  return kInferred;
}

}  // namespace quellor::formats
