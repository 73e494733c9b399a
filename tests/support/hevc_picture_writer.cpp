#include "tests/support/hevc_picture_writer.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "tests/support/hevc_bit_writer.h"
#include "tests/support/hevc_parameter_set_writer.h"
#include "tests/support/hevc_unit_writer.h"

namespace quellor::test_support {
namespace {

constexpr unsigned kMonochrome = 0, k420 = 1, k444 = 3;
constexpr unsigned kIdrUnit = 20;  // ITU-T H.265, table 7-1

/// Formulas 6-3 and 6-4: the first block of each tile column or row, and the end of the last.
std::vector<unsigned> tileBounds(unsigned count, unsigned blocks, const std::vector<unsigned>& sizes, bool uniform) {
  std::vector<unsigned> bounds = {0};
  for (unsigned i = 0; i < count; ++i) {
    const unsigned size = uniform         ? (i + 1) * blocks / count - i * blocks / count
                          : i + 1 < count ? sizes.at(i)
                                          : blocks - bounds.back();
    bounds.push_back(bounds.back() + size);
  }
  return bounds;
}

HevcBlocks blocksOf(const HevcPlan& plan) {
  HevcBlocks blocks;
  blocks.columns = (plan.width + (1U << plan.ctbLog2) - 1) >> plan.ctbLog2;
  blocks.rows = (plan.height + (1U << plan.ctbLog2) - 1) >> plan.ctbLog2;
  const std::size_t count = std::size_t{blocks.columns} * blocks.rows;
  blocks.tile.resize(count);
  blocks.tileLeft.resize(count);
  blocks.slice.resize(count, -1);
  const bool uniform = plan.tileWidths.empty() && plan.tileHeights.empty();
  const auto x = tileBounds(plan.tileColumns, blocks.columns, plan.tileWidths, uniform);
  const auto y = tileBounds(plan.tileRows, blocks.rows, plan.tileHeights, uniform);
  for (unsigned tile = 0; tile < plan.tileColumns * plan.tileRows; ++tile) {
    const unsigned tileColumn = tile % plan.tileColumns, tileRow = tile / plan.tileColumns;
    for (unsigned row = y[tileRow]; row < y[tileRow + 1]; ++row) {
      for (unsigned column = x[tileColumn]; column < x[tileColumn + 1]; ++column) {
        const unsigned address = row * blocks.columns + column;
        blocks.order.push_back(address);
        blocks.tile[address] = tile;
        blocks.tileLeft[address] = x[tileColumn];
      }
    }
  }
  return blocks;
}

/// Where a slice or a segment began.
struct Begin {
  unsigned address = 0;
  unsigned units = 0;      // that it has so far
  bool insideRow = false;  // then a wavefront must not leave the row
};

class PictureWriter {
 public:
  explicit PictureWriter(const HevcPlan& plan)
      : plan_(plan), blocks_(blocksOf(plan)), units_(plan, blocks_, out_, encoder_, written_) {}

  WrittenHevc write() {
    written_.parameterSets = writeHevcParameterSets(plan_);
    for (std::size_t plane = 0; plane < (plan_.chromaFormat == kMonochrome ? 1U : 3U); ++plane) {
      written_.samples[plane].resize(codedWidth(plane) * codedHevcSide(plan_.height, plan_));
    }
    for (std::size_t i = 0; i < blocks_.order.size(); ++i) writeUnit(i);
    for (std::size_t plane = 0; plane < 3 && !written_.samples[plane].empty(); ++plane) crop(plane);
    return std::move(written_);
  }

 private:
  [[nodiscard]] unsigned across(std::size_t plane) const { return plane > 0 && plan_.chromaFormat != k444 ? 1 : 0; }
  [[nodiscard]] unsigned down(std::size_t plane) const { return plane > 0 && plan_.chromaFormat == k420 ? 1 : 0; }
  [[nodiscard]] std::size_t codedWidth(std::size_t plane) const {
    return codedHevcSide(plan_.width, plan_) >> across(plane);
  }

  void crop(std::size_t plane) {
    std::vector<int> shown;
    for (unsigned row = 0; row < plan_.height >> down(plane); ++row) {
      const auto line = written_.samples[plane].begin() + static_cast<std::ptrdiff_t>(row * codedWidth(plane));
      shown.insert(shown.end(), line, line + (plan_.width >> across(plane)));
    }
    written_.samples[plane] = std::move(shown);
  }

  [[nodiscard]] bool beginsRow(unsigned address) const {
    return address % blocks_.columns == blocks_.tileLeft[address];
  }

  /// The unit at place `i` in the order of coding, and what ends behind it.
  void writeUnit(std::size_t i) {
    const unsigned address = blocks_.order[i];
    if (i == 0) slice_ = segment_ = {address, 0, false};
    blocks_.slice[address] = static_cast<int>(slice_.address);
    chooseContexts(i);
    if (segment_.units == 0 || beginsSubset(i)) encoder_.start();
    units_.write(address, slice_.address);
    if (plan_.wavefront && address % blocks_.columns == blocks_.tileLeft[address] + 1) afterSecond_ = units_.contexts;
    ++slice_.units;
    ++segment_.units;
    const bool last = i + 1 == blocks_.order.size();
    const bool endsSlice = last || ends(slice_, plan_.unitsPerSlice, i + 1);
    const bool endsSegment = endsSlice || ends(segment_, plan_.unitsPerSegment, i + 1);
    encoder_.terminate(endsSegment);  // end_of_slice_segment_flag
    if (!endsSegment && !beginsSubset(i + 1)) return;
    if (!endsSegment) encoder_.terminate(true);  // end_of_subset_one_bit
    subsets_.push_back(out_.take());
    if (!endsSegment) return;
    finishSegment();
    afterSegment_ = units_.contexts;
    if (last) return;
    const unsigned next = blocks_.order[i + 1];
    segment_ = {next, 0, !beginsRow(next)};
    if (endsSlice) slice_ = segment_;
  }

  [[nodiscard]] bool beginsTile(std::size_t i) const {
    return i == 0 || blocks_.tile[blocks_.order[i]] != blocks_.tile[blocks_.order[i - 1]];
  }
  [[nodiscard]] bool beginsSubset(std::size_t i) const {
    return beginsTile(i) || (plan_.wavefront && beginsRow(blocks_.order[i]));
  }

  /// Whether a slice or segment must end before place `i`: it has its units; it may not leave a tile in which others
  /// begin, nor a wavefront's row inside which it began (7.4.7.1).
  [[nodiscard]] bool ends(const Begin& begin, unsigned limit, std::size_t i) const {
    if (limit != 0 && (begin.units >= limit || beginsTile(i))) return true;
    return plan_.wavefront && begin.insideRow && beginsSubset(i);
  }

  // 9.3.1 and 9.3.2
  void chooseContexts(std::size_t i) {
    const unsigned address = blocks_.order[i];
    const unsigned column = address % blocks_.columns, row = address / blocks_.columns;
    const bool dependent = segment_.address != slice_.address;
    if (!beginsTile(i) && plan_.wavefront && beginsRow(address)) {
      const bool available = row > 0 && blocks_.available(column + 1, row - 1, address);
      units_.contexts = available ? afterSecond_ : initialHevcContexts(plan_.qp);
    } else if (!beginsTile(i) && segment_.units == 0 && dependent) {
      units_.contexts = afterSegment_;
    } else if (beginsTile(i) || segment_.units == 0) {
      units_.contexts = initialHevcContexts(plan_.qp);
    }
  }

  // 7.3.6.1
  void finishSegment() {
    HevcBitWriter out;
    const bool dependent = segment_.address != slice_.address;
    out.flag(segment_.address == 0).flag(false).golomb(0);
    if (segment_.address != 0) {
      if (plan_.unitsPerSegment > 0) out.flag(dependent);
      out.bits(static_cast<unsigned>(std::bit_width(blocks_.order.size() - 1)), segment_.address);
    }
    if (!dependent) {
      out.golomb(2);  // I
      if (plan_.sao) out.flag(true);
      if (plan_.sao && plan_.chromaFormat != kMonochrome) out.flag(true);
      out.signedGolomb(0);
      if (plan_.sao || plan_.deblocking) out.flag(true);
    }
    if (hasHevcTiles(plan_) || plan_.wavefront) writeEntryPoints(out);
    Bytes raw = out.align().take();
    written_.headers.push_back(nalUnit(kIdrUnit, raw).size());
    for (const Bytes& subset : subsets_) raw.insert(raw.end(), subset.begin(), subset.end());
    written_.segments.push_back(nalUnit(kIdrUnit, raw));
    subsets_.clear();
  }

  /// The sizes of all subsets but the last, emulation prevention included. No subset ends in a zero byte, so each has
  /// the prevention that it would have alone.
  void writeEntryPoints(HevcBitWriter& out) const {
    out.golomb(static_cast<unsigned>(subsets_.size() - 1));
    if (subsets_.size() == 1) return;
    std::size_t largest = 0;
    for (const Bytes& subset : subsets_) largest = std::max(largest, withEmulationPrevention(subset).size());
    const auto bits = static_cast<unsigned>(std::bit_width(largest + plan_.entryPointError));
    out.golomb(bits - 1);
    for (std::size_t i = 0; i + 1 < subsets_.size(); ++i) {
      out.bits(bits, withEmulationPrevention(subsets_[i]).size() - 1 + plan_.entryPointError);
    }
  }

  const HevcPlan& plan_;
  HevcBlocks blocks_;
  WrittenHevc written_;
  HevcBitWriter out_;  // of the subset that is being written
  HevcArithmeticEncoder encoder_{out_};
  HevcUnitWriter units_;
  HevcContexts afterSecond_, afterSegment_;
  Begin slice_, segment_;
  std::vector<Bytes> subsets_;  // of the segment so far
};

}  // namespace

WrittenHevc writeHevc(const HevcPlan& plan) { return PictureWriter(plan).write(); }

Bytes WrittenHevc::behindLengths() const {
  Bytes bytes;
  for (const auto* const units : {&parameterSets, &segments}) {
    for (const Bytes& unit : *units) {
      for (const int shift : {24, 16, 8, 0}) bytes.push_back(static_cast<std::uint8_t>(unit.size() >> shift));
      bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
  }
  return bytes;
}

}  // namespace quellor::test_support
