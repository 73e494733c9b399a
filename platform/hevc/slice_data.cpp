#include "platform/hevc/slice_data.h"

#include <algorithm>
#include <limits>

namespace quellor::hevc {
namespace {

constexpr unsigned kNoSlice = std::numeric_limits<unsigned>::max();

/// The first block of each tile column or row, and the end of the last; empty when a tile would be.
std::vector<unsigned> tileBoundaries(unsigned count, unsigned blocks, bool uniform,
                                     const std::vector<unsigned>& sizes) {
  std::vector<unsigned> boundaries = {0};
  for (unsigned i = 0; i + 1 < count; ++i) {
    const std::uint64_t next =
        uniform ? (std::uint64_t{i} + 1) * blocks / count : std::uint64_t{boundaries.back()} + sizes[i];
    if (next <= boundaries.back() || next >= blocks) return {};
    boundaries.push_back(static_cast<unsigned>(next));
  }
  boundaries.push_back(blocks);
  return boundaries;
}

constexpr const char* kWrongEntryPoint = "an entry point is not where a tile or row ends";

}  // namespace

/// Follows the subsets of a segment's data against the entry points in its header, which count the emulation
/// prevention bytes too. They matter because parallel decoding starts from them.
class EntryPoints {
 public:
  EntryPoints(const SliceHeader& header, std::span<const std::size_t> removed)
      : sizes_(header.subsetSizes), removed_(removed) {}

  /// A subset ends before byte `end`. A header without any entry point is let pass: decoding is sequential then.
  bool accepts(std::size_t end) {
    const std::size_t size = withPrevention(end) - withPrevention(begin_);
    begin_ = end;
    return sizes_.empty() || (index_ < sizes_.size() && sizes_[index_++] == size);
  }

  [[nodiscard]] bool used() const { return index_ == sizes_.size(); }

 private:
  [[nodiscard]] std::size_t withPrevention(std::size_t position) const {
    const auto before = std::upper_bound(removed_.begin(), removed_.end(), position) - removed_.begin();
    return position + static_cast<std::size_t>(before);
  }

  std::span<const std::uint32_t> sizes_;
  std::span<const std::size_t> removed_;
  std::size_t index_ = 0;
  std::size_t begin_ = 0;
};

CtbLayout layOut(const Sps& sps, const Pps& pps) {
  const unsigned columns = sps.ctbColumns();
  const unsigned rows = sps.ctbRows();
  const auto x = tileBoundaries(pps.tileColumns, columns, pps.uniformTiles, pps.tileWidths);
  const auto y = tileBoundaries(pps.tileRows, rows, pps.uniformTiles, pps.tileHeights);
  CtbLayout layout;
  if (x.empty() || y.empty()) return layout;
  layout.order.reserve(std::size_t{columns} * rows);
  layout.tile.resize(std::size_t{columns} * rows);
  layout.tileLeft.resize(std::size_t{columns} * rows);
  unsigned tile = 0;
  for (std::size_t tileRow = 0; tileRow + 1 < y.size(); ++tileRow) {
    for (std::size_t tileColumn = 0; tileColumn + 1 < x.size(); ++tileColumn, ++tile) {
      for (unsigned row = y[tileRow]; row < y[tileRow + 1]; ++row) {
        for (unsigned column = x[tileColumn]; column < x[tileColumn + 1]; ++column) {
          const unsigned address = row * columns + column;
          layout.order.push_back(address);
          layout.tile[address] = tile;
          layout.tileLeft[address] = x[tileColumn];
        }
      }
    }
  }
  return layout;
}

PictureParser::PictureParser(const Sps& sps, const Pps& pps)
    : sps_(sps),
      pps_(pps),
      layout_(layOut(sps, pps)),
      units_(sps, pps),
      sliceAddress_(layout_.order.size(), kNoSlice) {}

Judgement PictureParser::parse(const SliceHeader& header, ByteView data, std::span<const std::size_t> removed) {
  EntryPoints entryPoints(header, removed);
  const char* const reason = parseUnits(header, data, entryPoints);
  return reason == nullptr ? Judgement{} : Judgement{Verdict::damaged, reason};
}

/// Null or, as below, what is wrong.
const char* PictureParser::parseUnits(const SliceHeader& header, ByteView data, EntryPoints& entryPoints) {
  if (layout_.order.empty()) return "the tiles do not fit the picture";
  if (complete()) return "a slice segment comes after the last coding tree unit";
  if (header.address != layout_.order[next_]) return "a slice segment does not begin where the last one ended";
  if (!units_.start(data, 0)) return "a slice segment has no legal start";
  for (bool first = true;; first = false) {
    if (const char* const reason = parseUnit(header, first)) return reason;
    if (units_.decoder.terminate()) break;  // end_of_slice_segment_flag
    if (complete()) return "a slice segment goes on behind the last coding tree unit";
    if (!startsSubset()) continue;
    if (const char* const reason = startNextSubset(data, entryPoints)) return reason;
  }
  afterSegment_ = units_.contexts;
  const auto end = units_.decoder.endOfSubset();
  // Zero bytes may follow: cabac_zero_words (7.3.2.10).
  const auto isZero = [](auto byte) { return byte == 0; };
  if (!end || !std::all_of(data.begin() + static_cast<std::ptrdiff_t>(*end), data.end(), isZero)) {
    return "a slice segment's code does not end with its data";
  }
  return entryPoints.used() ? nullptr : kWrongEntryPoint;
}

/// Whether the next unit is coded apart from the one before it: in another tile, or in a wavefront's next row.
bool PictureParser::startsSubset() const {
  const unsigned address = layout_.order[next_];
  return layout_.tile[address] != layout_.tile[layout_.order[next_ - 1]] || (pps_.wavefront && startsRow(address));
}

const char* PictureParser::startNextSubset(ByteView data, EntryPoints& entryPoints) {
  const auto end = units_.decoder.terminate() ? units_.decoder.endOfSubset() : std::nullopt;  // end_of_subset_one_bit
  if (!end || !units_.start(data, *end)) return "the code of a tile or row does not end with its data";
  return entryPoints.accepts(*end) ? nullptr : kWrongEntryPoint;
}

const char* PictureParser::parseUnit(const SliceHeader& header, bool firstInSegment) {
  const unsigned address = layout_.order[next_];
  const unsigned columns = sps_.ctbColumns();
  const unsigned column = address % columns;
  sliceAddress_[address] = header.sliceAddress;
  chooseContexts(header, address, firstInSegment);
  const bool hasLeft = column > 0 && belongsTogether(address, address - 1);
  const bool hasAbove = address >= columns && belongsTogether(address, address - columns);
  if (!units_.parse(header, column, address / columns, hasLeft, hasAbove)) return "a coding tree unit is broken";
  if (units_.decoder.overran()) return "a slice segment's code goes on behind its data";
  if (pps_.wavefront && column == layout_.tileLeft[address] + 1) afterSecondUnit_ = units_.contexts;
  ++next_;
  return nullptr;
}

// The availability of 6.4.1, of blocks that are coded already.
bool PictureParser::belongsTogether(unsigned address, unsigned neighbour) const {
  return sliceAddress_[neighbour] == sliceAddress_[address] && layout_.tile[neighbour] == layout_.tile[address];
}

bool PictureParser::startsRow(unsigned address) const {
  return address % sps_.ctbColumns() == layout_.tileLeft[address];
}

// 9.3.1. A row of a wavefront starts with what the row above knew after its second unit, if that belongs to the same
// slice and tile, so that rows can be coded at the same time. That goes before the dependence on the last segment.
void PictureParser::chooseContexts(const SliceHeader& header, unsigned address, bool firstInSegment) {
  const unsigned columns = sps_.ctbColumns();
  const bool firstInTile = next_ == 0 || layout_.tile[layout_.order[next_ - 1]] != layout_.tile[address];
  if (!firstInTile && pps_.wavefront && startsRow(address)) {
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
