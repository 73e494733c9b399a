#include "platform/hevc/parallel_subsets.h"

#include <algorithm>
#include <limits>

namespace quellor::hevc {
namespace {

constexpr unsigned kAllUnits = std::numeric_limits<unsigned>::max();

/// Far more than processors could share. Each takes a kilobyte, and a file can ask for a million tiles.
constexpr std::size_t kMaximumSubsets = 4096;

std::vector<std::size_t> subsetPlaces(const CtbLayout& layout) {
  std::vector<std::size_t> places = {0};
  for (std::size_t place = 1; place < layout.order.size(); ++place) {
    if (layout.startsSubset(place)) places.push_back(place);
  }
  places.push_back(layout.order.size());
  return places;
}

}  // namespace

ParallelSubsets::ParallelSubsets(const Sps& sps, const Pps& pps, const CtbLayout& layout)
    : sps_(sps), pps_(pps), layout_(layout), places_(subsetPlaces(layout)), firstFailed_(places_.size()) {}

bool ParallelSubsets::canEnter(const SliceHeader& header) const {
  const std::size_t subsets = places_.size() - 1;
  return !(pps_.tiles && pps_.wavefront) && header.subsetSizes.size() + 1 == subsets && subsets <= kMaximumSubsets;
}

ParallelSubsets::Result ParallelSubsets::parse(const SliceHeader& header, ByteView data,
                                               std::span<const std::size_t> starts, CodingTreeParser& last,
                                               LineAbove& above, const Spread& spread) {
  const Segment segment{header, data, starts};
  subsets_ = std::vector<Subset>(places_.size() - 1);
  // Tiles below one another would use the same columns of a line.
  std::vector<LineAbove> lines(pps_.tileRows - 1, LineAbove(sps_));
  spread(subsets_.size(), [&](std::size_t index) {
    const Ending ending(subsets_[index]);
    if (index + 1 == subsets_.size()) return parseSubset(segment, index, last);
    const std::size_t line = index / pps_.tileColumns;
    CodingTreeParser units(sps_, pps_, line < lines.size() ? lines[line] : above);
    parseSubset(segment, index, units);
  });
  Result result;
  result.end = end_;
  for (const Subset& subset : subsets_) {
    if (result.reason == nullptr) result.reason = subset.reason;
    result.exemptsChromaFromOffset = result.exemptsChromaFromOffset || subset.exemptsChromaFromOffset;
  }
  return result;
}

void ParallelSubsets::parseSubset(const Segment& segment, std::size_t index, CodingTreeParser& units) {
  Subset& subset = subsets_[index];
  subset.reason = parseUnits(segment, index, units);
  subset.exemptsChromaFromOffset = units.exemptsChromaFromOffset;
  if (subset.reason != nullptr) {
    std::size_t first = firstFailed_;
    while (index < first && !firstFailed_.compare_exchange_weak(first, index)) continue;
  }
}

ParallelSubsets::Ending::~Ending() {
  subset_.parsed = kAllUnits;
  subset_.parsed.notify_all();
}

/// Null, or what is wrong with the subset if all before it are intact.
const char* ParallelSubsets::parseUnits(const Segment& segment, std::size_t index, CodingTreeParser& units) {
  const bool isLast = index + 1 == subsets_.size();
  if (!units.start(segment.data, index == 0 ? 0 : segment.starts[index - 1])) return kNoLegalStart;
  units.contexts = initialContexts(segment.header.qp);
  for (std::size_t place = places_[index]; place < places_[index + 1]; ++place) {
    if (const char* const reason = parseUnit(segment.header, index, place, units)) return reason;
    if (units.decoder.terminate()) return endWhole(segment, index, place + 1, units);  // end_of_slice_segment_flag
  }
  if (isLast) return kGoesOnBehindPicture;
  std::size_t next = 0;
  if (const char* const reason = endSubset(units.decoder, segment.data, next)) return reason;
  return next == segment.starts[index] ? nullptr : kWrongEntryPoint;
}

/// Ends the segment in this subset, which should be the last.
const char* ParallelSubsets::endWhole(const Segment& segment, std::size_t index, std::size_t place,
                                      const CodingTreeParser& units) {
  if (const char* const reason = endSegment(units.decoder, segment.data)) return reason;
  if (index + 1 != subsets_.size()) return kWrongEntryPoint;
  end_ = place;
  return nullptr;
}

/// Until the row above has parsed the unit above and to the right, or has ended.
void ParallelSubsets::waitForAbove(std::size_t index, unsigned column) const {
  const std::atomic<unsigned>& parsed = subsets_[index - 1].parsed;
  const unsigned needed = std::min(column + 2, layout_.columns);
  for (unsigned now = parsed; now < needed; now = parsed) parsed.wait(now);
}

const char* ParallelSubsets::parseUnit(const SliceHeader& header, std::size_t index, std::size_t place,
                                       CodingTreeParser& units) {
  const unsigned address = layout_.order[place];
  const unsigned column = address % layout_.columns;
  const bool hasLeft = column > layout_.tileLeft[address];
  const bool hasAbove = address >= layout_.columns && layout_.tile[address - layout_.columns] == layout_.tile[address];
  if (firstFailed_.load(std::memory_order_relaxed) < index) return "a tile or row before it is damaged";
  if (pps_.wavefront && hasAbove) {
    waitForAbove(index, column);
    if (!hasLeft && layout_.columns > 1) units.contexts = subsets_[index - 1].afterSecondUnit;
  }
  if (const char* const reason = units.parse(header, column, address / layout_.columns, hasLeft, hasAbove)) {
    return reason;
  }
  Subset& subset = subsets_[index];
  if (column == 1) subset.afterSecondUnit = units.contexts;
  subset.parsed = column + 1;
  subset.parsed.notify_all();
  return nullptr;
}

}  // namespace quellor::hevc
