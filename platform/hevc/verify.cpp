#include "platform/hevc/verify.h"

#include <algorithm>
#include <vector>

#include "platform/hevc/active_sets.h"
#include "platform/hevc/slice_data.h"
#include "platform/hevc/supplemental.h"

namespace quellor::hevc {
namespace {

constexpr Judgement kDoubtfulSet{Verdict::unknown, "a parameter set is not understood"};

/// Of a picture that can be an image: neither reserved nor among those of which decoders drop some (table 7-1).
bool hasFollowedType(const NalUnit& unit) {
  constexpr unsigned kFirstReserved = 10, kFirstIrap = 16, kFirstReservedIrap = 22;
  return unit.type < kFirstReserved || (unit.type >= kFirstIrap && unit.type < kFirstReservedIrap);
}

bool isSliceSegment(const NalUnit& unit) { return unit.type < kFirstParameterSetUnit; }

bool isParameterSet(const NalUnit& unit) { return !isSliceSegment(unit) && unit.type <= kPpsUnit; }

class Verifier {
 public:
  explicit Verifier(const Spread& spread) : spread_(spread) {}

  Judgement verify(std::span<const NalUnit> units);

 private:
  Judgement verifySegment(const NalUnit& unit);
  [[nodiscard]] Judgement missingParameterSets() const;
  Judgement follow(const ActiveSets::Pair& active);

  const Spread& spread_;
  ActiveSets sets_;
  ActiveSets::Pair active_;
  std::optional<PictureParser> picture_;
  SliceHeader header_;
};

Judgement Verifier::missingParameterSets() const {
  if (sets_.lacksSome()) return kDoubtfulSet;
  return {Verdict::damaged, "a slice segment asks for a parameter set that is not there"};
}

/// Starts the picture with the sets of its first segment.
Judgement Verifier::follow(const ActiveSets::Pair& active) {
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
  const auto active = sets_.askedForBy(raw, unit.type);
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
  const auto first = std::find_if(units.begin(), units.end(), isSliceSegment);
  std::for_each(units.begin(), first, [this](const NalUnit& unit) { sets_.store(unit); });
  for (const NalUnit& unit : units.subspan(static_cast<std::size_t>(first - units.begin()))) {
    if (isParameterSet(unit)) return {Verdict::unknown, "a parameter set comes behind a slice segment"};
    if (!isSliceSegment(unit)) continue;
    if (!hasFollowedType(unit) || unit.type != first->type) {
      return {Verdict::unknown, "a slice segment's unit is of another type"};
    }
    const Judgement judgement = verifySegment(unit);
    if (judgement.verdict != Verdict::intact) return judgement;
  }
  if (!picture_) return {Verdict::damaged, "there is no slice segment"};
  if (!picture_->complete()) return {Verdict::damaged, "the slice segments do not cover the picture"};
  if (!sets_.areSound()) return kDoubtfulSet;
  Judgement judgement;
  judgement.exemptsChromaFromOffset = picture_->exemptsChromaFromOffset();
  return judgement;
}

}  // namespace

Judgement verify(std::span<const NalUnit> units, const Spread& spread) { return Verifier(spread).verify(units); }

std::optional<PictureShape> shapeOf(std::span<const NalUnit> units) {
  ActiveSets sets;
  const auto first = std::find_if(units.begin(), units.end(), isSliceSegment);
  if (first == units.end()) return std::nullopt;
  std::for_each(units.begin(), first, [&sets](const NalUnit& unit) { sets.store(unit); });
  const std::size_t headerStart = std::min<std::size_t>(first->payload.size(), 16);
  const auto active = sets.askedForBy(removeEmulationPrevention(first->payload.first(headerStart)), first->type);
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
  shape.supplementsNeedDecoder = std::any_of(units.begin(), units.end(), needsDecoder);
  return shape;
}

}  // namespace quellor::hevc
