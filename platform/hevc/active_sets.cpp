#include "platform/hevc/active_sets.h"

#include <algorithm>
#include <utility>

#include "platform/hevc/slice_header.h"

namespace quellor::hevc {
namespace {

bool isAnother(ByteView kept, ByteView payload) {
  return !kept.empty() && !std::equal(kept.begin(), kept.end(), payload.begin(), payload.end());
}

}  // namespace

void ActiveSets::store(const NalUnit& unit) {
  if (unit.type == kVpsUnit) storeVps(unit);
  if (unit.type == kSpsUnit) storeSps(unit);
  if (unit.type == kPpsUnit) storePps(unit);
}

void ActiveSets::storeVps(const NalUnit& unit) {
  const auto id = parseVps(removeEmulationPrevention(unit.payload).bytes);
  lacksSome_ = lacksSome_ || !id;
  if (!id) return;
  sound_ = sound_ && !isAnother(vpsPayloads_[*id], unit.payload);
  vpsPayloads_[*id] = unit.payload;
}

void ActiveSets::storeSps(const NalUnit& unit) {
  unsigned id = 0;
  const auto sps = parseSps(removeEmulationPrevention(unit.payload).bytes, id);
  const bool understood = sps && !vpsPayloads_[sps->vpsId].empty();
  lacksSome_ = lacksSome_ || !understood;
  if (!understood) return;
  sound_ = sound_ && !isAnother(spsPayloads_[id], unit.payload);
  spsPayloads_[id] = unit.payload;
  sps_[id] = sps;
}

void ActiveSets::storePps(const NalUnit& unit) {
  unsigned id = 0;
  auto pps = parsePps(removeEmulationPrevention(unit.payload).bytes, id);
  lacksSome_ = lacksSome_ || !pps;
  if (!pps) return;
  const auto& sps = sps_[pps->spsId];
  sound_ = sound_ && sps && pps->cuQpDeltaDepth <= sps->ctbLog2 - sps->minCbLog2;
  if (sps) pps_[id] = std::move(pps);
}

ActiveSets::Pair ActiveSets::askedForBy(const RawPayload& raw, unsigned unitType) const {
  const unsigned id = parsePpsId(raw.bytes, unitType);
  if (id >= kMaximumPps || !pps_[id]) return {};
  return {&*sps_[pps_[id]->spsId], &*pps_[id]};
}

}  // namespace quellor::hevc
