#include "platform/hevc/slice_data.h"

#include <limits>

#include "platform/hevc/parallel_subsets.h"
#include "platform/hevc/subsets.h"

namespace quellor::hevc {
namespace {

constexpr unsigned kNoSlice = std::numeric_limits<unsigned>::max();

}  // namespace

PictureParser::PictureParser(const Sps& sps, const Pps& pps, const Spread& spread)
    : sps_(sps),
      pps_(pps),
      spread_(spread),
      layout_(layOut(sps, pps)),
      above_(sps),
      units_(sps, pps, above_),
      sliceAddress_(layout_.order.size(), kNoSlice) {}

Judgement PictureParser::parse(const SliceHeader& header, ByteView data, std::span<const std::size_t> removed) {
  const char* const reason = parseSegment(header, data, removed);
  return reason == nullptr ? Judgement{} : Judgement{Verdict::damaged, reason};
}

/// Null or, as below, what is wrong.
const char* PictureParser::parseSegment(const SliceHeader& header, ByteView data,
                                        std::span<const std::size_t> removed) {
  if (layout_.order.empty()) return "the tiles do not fit the picture";
  if (complete()) return "a slice segment comes after the last coding tree unit";
  if (header.address != layout_.order[next_]) return "a slice segment does not begin where the last one ended";
  const auto starts = subsetStarts(header, removed);
  if (spread_ && next_ == 0 && !starts.empty()) {
    ParallelSubsets subsets(sps_, pps_, layout_);
    if (subsets.canEnter(header)) return parseAtOnce(subsets, header, data, starts);
  }
  return parseUnits(header, data, starts);
}

const char* PictureParser::parseAtOnce(ParallelSubsets& subsets, const SliceHeader& header, ByteView data,
                                       std::span<const std::size_t> starts) {
  const auto result = subsets.parse(header, data, starts, units_, above_, spread_);
  if (result.reason != nullptr) return result.reason;
  for (; next_ < result.end; ++next_) sliceAddress_[layout_.order[next_]] = header.sliceAddress;
  if (result.exemptsChromaFromOffset) units_.exemptsChromaFromOffset = true;
  afterSegment_ = units_.contexts;
  return nullptr;
}

const char* PictureParser::parseUnits(const SliceHeader& header, ByteView data, std::span<const std::size_t> starts) {
  if (!units_.start(data, 0)) return kNoLegalStart;
  std::size_t subsets = 0;  // that have ended
  for (bool first = true;; first = false) {
    if (const char* const reason = parseUnit(header, first)) return reason;
    if (units_.decoder.terminate()) break;  // end_of_slice_segment_flag
    if (complete()) return kGoesOnBehindPicture;
    if (!layout_.startsSubset(next_)) continue;
    if (const char* const reason = startNextSubset(data, starts, subsets++)) return reason;
  }
  afterSegment_ = units_.contexts;
  if (const char* const reason = endSegment(units_.decoder, data)) return reason;
  return starts.empty() || subsets == starts.size() ? nullptr : kWrongEntryPoint;
}

/// A header without any entry point is let pass: decoding is sequential then.
const char* PictureParser::startNextSubset(ByteView data, std::span<const std::size_t> starts, std::size_t index) {
  std::size_t begin = 0;
  if (const char* const reason = endSubset(units_.decoder, data, begin)) return reason;
  if (!starts.empty() && (index >= starts.size() || starts[index] != begin)) return kWrongEntryPoint;
  return units_.start(data, begin) ? nullptr : kNoLegalStart;
}

const char* PictureParser::parseUnit(const SliceHeader& header, bool firstInSegment) {
  const unsigned address = layout_.order[next_];
  const unsigned column = address % layout_.columns;
  sliceAddress_[address] = header.sliceAddress;
  chooseContexts(header, address, firstInSegment);
  const bool hasLeft = column > 0 && belongsTogether(address, address - 1);
  const bool hasAbove = address >= layout_.columns && belongsTogether(address, address - layout_.columns);
  if (const char* const reason = units_.parse(header, column, address / layout_.columns, hasLeft, hasAbove)) {
    return reason;
  }
  if (pps_.wavefront && column == layout_.tileLeft[address] + 1) afterSecondUnit_ = units_.contexts;
  ++next_;
  return nullptr;
}

// The availability of 6.4.1, of blocks that are coded already.
bool PictureParser::belongsTogether(unsigned address, unsigned neighbour) const {
  return sliceAddress_[neighbour] == sliceAddress_[address] && layout_.tile[neighbour] == layout_.tile[address];
}

// 9.3.1. A row of a wavefront starts with what the row above knew after its second unit, if that belongs to the same
// slice and tile, so that rows can be coded at the same time. That goes before the dependence on the last segment.
void PictureParser::chooseContexts(const SliceHeader& header, unsigned address, bool firstInSegment) {
  const unsigned columns = sps_.ctbColumns();
  const bool firstInTile = next_ == 0 || layout_.startsTile(next_);
  if (!firstInTile && layout_.startsWavefront(next_)) {
    const bool hasAboveRight =
        address >= columns && address % columns + 1 < columns && belongsTogether(address, address - columns + 1);
    units_.contexts = hasAboveRight ? afterSecondUnit_ : initialContexts(header.qp);
  } else if (!firstInTile && firstInSegment && header.dependent) {
    units_.contexts = afterSegment_;
  } else if (firstInTile || firstInSegment) {
    units_.contexts = initialContexts(header.qp);
  }
}

}  // namespace quellor::hevc
