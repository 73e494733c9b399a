#include "platform/hevc/verify.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "platform/hevc/slice_data.h"
#include "platform/hevc/supplemental.h"

namespace quellor::hevc {
namespace {

class ParameterSets {
 public:
  /// Keeps a set that is understood; other units are none of its business.
  void store(const NalUnit& unit);

  /// Whether there was a set that is not understood.
  [[nodiscard]] bool lacksSome() const { return lacksSome_; }

  /// The sets that the slice segment in `raw` asks for, or null.
  struct Active {
    const Sps* sps = nullptr;
    const Pps* pps = nullptr;
  };
  [[nodiscard]] Active activeFor(const RawPayload& raw, unsigned unitType) const;

 private:
  std::array<bool, kMaximumVps> vps_{};  // those that are there
  std::array<std::optional<Sps>, kMaximumSps> sps_;
  std::array<std::optional<Pps>, kMaximumPps> pps_;
  bool lacksSome_ = false;
};

void ParameterSets::store(const NalUnit& unit) {
  if (unit.type != kVpsUnit && unit.type != kSpsUnit && unit.type != kPpsUnit) return;
  const RawPayload raw = removeEmulationPrevention(unit.payload);
  unsigned id = 0;
  if (unit.type == kVpsUnit) {
    const auto vps = parseVps(raw.bytes);
    if (vps) vps_[*vps] = true;
    lacksSome_ = lacksSome_ || !vps;
  } else if (unit.type == kSpsUnit) {
    const auto sps = parseSps(raw.bytes, id);
    const bool understood = sps && vps_[sps->vpsId];
    if (understood) sps_[id] = sps;
    lacksSome_ = lacksSome_ || !understood;
  } else {
    auto pps = parsePps(raw.bytes, id);
    lacksSome_ = lacksSome_ || !pps;
    if (pps) pps_[id] = std::move(pps);
  }
}

ParameterSets::Active ParameterSets::activeFor(const RawPayload& raw, unsigned unitType) const {
  const unsigned id = parsePpsId(raw.bytes, unitType);
  if (id >= kMaximumPps || !pps_[id] || !sps_[pps_[id]->spsId]) return {};
  return {&*sps_[pps_[id]->spsId], &*pps_[id]};
}

bool isSliceSegment(const NalUnit& unit) { return unit.type < kFirstParameterSetUnit; }

class Verifier {
 public:
  explicit Verifier(const Spread& spread) : spread_(spread) {}

  Judgement verify(std::span<const NalUnit> units);

 private:
  Judgement verifySegment(const NalUnit& unit);
  [[nodiscard]] Judgement missingParameterSets() const;
  Judgement follow(const ParameterSets::Active& active);

  const Spread& spread_;
  ParameterSets sets_;
  ParameterSets::Active active_;
  std::optional<PictureParser> picture_;
  SliceHeader header_;
};

Judgement Verifier::missingParameterSets() const {
  if (sets_.lacksSome()) return {Verdict::unknown, "a parameter set is not understood"};
  return {Verdict::damaged, "a slice segment asks for a parameter set that is not there"};
}

/// Starts the picture with the sets of its first segment.
Judgement Verifier::follow(const ParameterSets::Active& active) {
  for (const char* const tool : {active.sps->notFollowed, active.pps->notFollowed}) {
    if (tool != nullptr) return {Verdict::unknown, tool};
  }
  if (!picture_) {
    active_ = active;
    picture_.emplace(*active.sps, *active.pps, spread_);
  }
  if (active.pps != active_.pps) {  // allowed by the standard, seen nowhere
    return {Verdict::unknown, "slices of one picture ask for different parameter sets"};
  }
  return {};
}

Judgement Verifier::verifySegment(const NalUnit& unit) {
  const RawPayload raw = removeEmulationPrevention(unit.payload);
  const auto active = sets_.activeFor(raw, unit.type);
  if (active.sps == nullptr || active.pps == nullptr) return missingParameterSets();
  const Judgement sets = follow(active);
  if (sets.verdict != Verdict::intact) return sets;
  const Judgement header = parseSliceHeader(raw.bytes, unit.type, *active.sps, *active.pps, header_);
  if (header.verdict != Verdict::intact) return header;
  std::vector<std::size_t> removed;
  for (const std::size_t place : raw.removed) {
    if (place > header_.size) removed.push_back(place - header_.size);
  }
  return picture_->parse(header_, ByteView(raw.bytes).subspan(header_.size), removed);
}

Judgement Verifier::verify(std::span<const NalUnit> units) {
  for (const NalUnit& unit : units) {
    if (!isSliceSegment(unit)) {
      if (!picture_) {  // none may change inside a picture, and pointers to them are kept
        sets_.store(unit);
      }
      continue;
    }
    const Judgement judgement = verifySegment(unit);
    if (judgement.verdict != Verdict::intact) return judgement;
  }
  if (!picture_) return {Verdict::damaged, "there is no slice segment"};
  if (!picture_->complete()) return {Verdict::damaged, "the slice segments do not cover the picture"};
  Judgement judgement;
  judgement.exemptsChromaFromOffset = picture_->exemptsChromaFromOffset();
  return judgement;
}

}  // namespace

Judgement verify(std::span<const NalUnit> units, const Spread& spread) { return Verifier(spread).verify(units); }

std::optional<PictureShape> shapeOf(std::span<const NalUnit> units) {
  ParameterSets sets;
  const auto first = std::find_if(units.begin(), units.end(), isSliceSegment);
  if (first == units.end()) return std::nullopt;
  std::for_each(units.begin(), first, [&sets](const NalUnit& unit) { sets.store(unit); });
  const std::size_t headerStart = std::min<std::size_t>(first->payload.size(), 16);
  const auto active = sets.activeFor(removeEmulationPrevention(first->payload.first(headerStart)), first->type);
  if (active.sps == nullptr) return std::nullopt;
  const Sps& sps = *active.sps;
  PictureShape shape;
  shape.pixels = std::uint64_t{sps.width} * sps.height;
  shape.shownWidth = sps.shownWidth;
  shape.shownHeight = sps.shownHeight;
  shape.chromaFormat = sps.chromaArrayType;
  shape.bitDepthLuma = sps.bitDepthLuma;
  shape.bitDepthChroma = sps.bitDepthChroma;
  shape.wavefront = active.pps->wavefront;
  shape.tiles = active.pps->tiles;
  shape.constrainedIntra = active.pps->constrainedIntra;
  shape.coding = sps.usability.coding;
  shape.pcmWithoutChroma = sps.pcm && sps.chromaArrayType == kMonochrome;
  shape.hasPictureHash = std::any_of(units.begin(), units.end(), mayHoldPictureHash);
  return shape;
}

}  // namespace quellor::hevc
