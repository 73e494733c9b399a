#include "platform/formats/hevc_configuration.h"

#include <algorithm>
#include <array>

#include "platform/heif/box_writer.h"
#include "platform/hevc/hevc.h"

namespace quellor::formats {
namespace {

using namespace heif;

constexpr std::size_t kUnitHeaderSize = 2;

unsigned typeOf(ByteView unit) { return (unit[0] >> 1) & 0x3FU; }

HevcConfiguration read(ByteReader reader) {
  HevcConfiguration configuration;
  reader.bytes(16);  // version, profile, tier, level, spatial segmentation, parallelism
  configuration.chromaFormat = reader.u8() & 3U;
  configuration.bitDepthLuma = 8 + (reader.u8() & 7);
  configuration.bitDepthChroma = 8 + (reader.u8() & 7);
  reader.u16();  // average frame rate
  configuration.lengthSize = std::size_t{reader.u8() & 3U} + 1;
  if (configuration.lengthSize == 3) throw MalformedContainer("a length size that is not 1, 2 or 4");
  for (unsigned arrays = reader.u8(); arrays > 0; --arrays) {
    reader.u8();  // type of its units, and whether all are here
    for (unsigned units = reader.u16(); units > 0; --units) configuration.units.push_back(reader.bytes(reader.u16()));
  }
  return configuration;
}

std::optional<hevc::Sps> parsed(ByteView unit) {
  unsigned id = 0;
  return hevc::parseSps(hevc::removeEmulationPrevention(unit.subspan(kUnitHeaderSize)).bytes, id);
}

/// general_profile_space to general_level_idc: the twelve bytes behind the first of a sequence parameter set (ITU-T
/// H.265, 7.3.2.2.1 and 7.3.3), which the record repeats.
constexpr std::size_t kProfileTierLevelSize = 12;

/// As sets of these types stand in the record, one array each.
constexpr std::array kParameterSetTypes = {hevc::kVpsUnit, hevc::kSpsUnit, hevc::kPpsUnit};

void writeRecord(BoxWriter& writer, const hevc::Sps& sps, ByteView profileTierLevel,
                 const std::vector<ByteView>& sets) {
  writer.u8(1).append(profileTierLevel);
  writer.u16(0xF000);  // no promise of segments that decode on their own
  writer.u8(0xFC).u8(0xFC | sps.chromaArrayType);
  writer.u8(0xF8 | (sps.bitDepthLuma - 8)).u8(0xF8 | (sps.bitDepthChroma - 8));
  writer.u16(0);                           // no frame rate
  writer.u8(1U << 3 | 1U << 2 | (4 - 1));  // one temporal layer, nested, lengths of four bytes
  writer.u8(kParameterSetTypes.size());
  for (const unsigned type : kParameterSetTypes) {
    const auto isOfType = [type](ByteView set) { return typeOf(set) == type; };
    writer.u8(0x80 | type).u16(static_cast<std::size_t>(std::count_if(sets.begin(), sets.end(), isOfType)));
    for (const ByteView set : sets) {
      if (isOfType(set)) writer.u16(set.size()).append(set);
    }
  }
}

}  // namespace

std::optional<HevcConfiguration> readHevcConfiguration(ByteView payload) {
  try {
    return read(ByteReader(payload));
  } catch (const MalformedContainer&) {
    return std::nullopt;
  }
}

std::optional<hevc::Sps> sequenceParameterSetOf(const HevcConfiguration& configuration) {
  for (const ByteView unit : configuration.units) {
    if (unit.size() > kUnitHeaderSize && typeOf(unit) == hevc::kSpsUnit) return parsed(unit);
  }
  return std::nullopt;
}

std::optional<Bytes> hevcConfigurationBox(const std::vector<ByteView>& parameterSets) {
  const auto firstOf = [&](unsigned type) {
    return std::find_if(parameterSets.begin(), parameterSets.end(),
                        [type](ByteView set) { return set.size() > kUnitHeaderSize && typeOf(set) == type; });
  };
  for (const unsigned type : kParameterSetTypes) {
    if (firstOf(type) == parameterSets.end()) return std::nullopt;
  }
  const ByteView set = *firstOf(hevc::kSpsUnit);
  const auto sps = parsed(set);
  const Bytes raw = hevc::removeEmulationPrevention(set.subspan(kUnitHeaderSize)).bytes;
  if (!sps || raw.size() < 1 + kProfileTierLevelSize) return std::nullopt;
  try {
    BoxWriter writer;
    writer.box(fourCC("hvcC"),
               [&] { writeRecord(writer, *sps, ByteView(raw).subspan(1, kProfileTierLevelSize), parameterSets); });
    return writer.take();
  } catch (const UnwritableContainer&) {
    return std::nullopt;
  }
}

}  // namespace quellor::formats
