#include "platform/heif/chroma_siting.h"

#include <vector>

#include "platform/heif/item_properties.h"
#include "platform/heif/item_relations.h"
#include "platform/hevc/nal.h"
#include "platform/hevc/parameter_sets.h"

namespace quellor::heif {
namespace {

constexpr ChromaSiting kInferred = ChromaSiting::left;

/// One of the types of ITU-T H.273, 8.7.
std::optional<ChromaSiting> sitingOfType(std::optional<unsigned> type) {
  if (!type || *type > static_cast<unsigned>(ChromaSiting::bottom)) return std::nullopt;
  return static_cast<ChromaSiting>(*type);
}

/// The first sequence parameter set of an HEVCDecoderConfigurationRecord (ISO/IEC 14496-15, 8.3.3.1).
std::optional<ChromaSiting> fromHevc(ByteReader reader) {
  constexpr std::size_t kUnitHeader = 2;
  reader.bytes(22);
  for (unsigned arrays = reader.u8(); arrays > 0; --arrays) {
    const unsigned type = reader.u8() & 0x3FU;
    for (unsigned units = reader.u16(); units > 0; --units) {
      ByteReader unit(reader.bytes(reader.u16()));
      if (type != hevc::kSpsUnit) continue;
      unit.bytes(kUnitHeader);
      unsigned id = 0;
      const auto set = hevc::parseSps(hevc::removeEmulationPrevention(unit.rest()).bytes, id);
      return set ? sitingOfType(set->chromaLocation) : std::nullopt;
    }
  }
  return std::nullopt;
}

/// AV1CodecConfigurationRecord (AV1 in ISOBMFF, 2.3.3): the last two bits of byte 2.
std::optional<ChromaSiting> fromAv1(ByteReader reader) {
  constexpr unsigned kColocated = 2;
  reader.bytes(2);
  return (reader.u8() & 3U) == kColocated ? ChromaSiting::topLeft : ChromaSiting::left;
}

/// ChromaLocationBox (ISO/IEC 23001-17, 6.1.4).
std::optional<ChromaSiting> fromLocation(ByteReader reader) {
  reader.u32();
  return sitingOfType(reader.u8());
}

std::optional<ChromaSiting> fromProperty(const Container& container, const Item& item, FourCC type,
                                         std::optional<ChromaSiting> (*read)(ByteReader)) {
  const Property* const property = findProperty(container, item, type);
  if (property == nullptr) return std::nullopt;
  try {
    return read(ByteReader(property->payload));
  } catch (const MalformedContainer&) {
    return std::nullopt;
  }
}

ChromaSiting sitingOfCoded(const Container& container, const Item& item) {
  switch (item.type) {
    case fourCC("hvc1"):
    case fourCC("hev1"):
      return fromProperty(container, item, fourCC("hvcC"), fromHevc).value_or(kInferred);
    case fourCC("av01"):
      return fromProperty(container, item, fourCC("av1C"), fromAv1).value_or(kInferred);
    case fourCC("unci"):
      return fromProperty(container, item, fourCC("cloc"), fromLocation).value_or(kInferred);
    case fourCC("jpeg"):
    case fourCC("mime"):
      return ChromaSiting::centre;
    case fourCC("j2k1"):
      return ChromaSiting::topLeft;
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

}  // namespace quellor::heif
