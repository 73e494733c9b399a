#include "tests/support/hevc_picture_writer.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <random>

#include "tests/support/hevc_bit_writer.h"
#include "tests/support/hevc_unit_writer.h"

namespace quellor::test_support {
namespace {

constexpr unsigned kMonochrome = 0, k420 = 1, k444 = 3;
constexpr unsigned kIdrUnit = 20, kVpsUnit = 32, kSpsUnit = 33, kPpsUnit = 34;  // ITU-T H.265, table 7-1

// 7.3.3; format range extensions (A.3.5) where the main profiles do not do.
void profileTierLevel(HevcBitWriter& out, const HevcPlan& plan) {
  const unsigned profile = plan.chromaFormat != k420 || plan.depth > 10 ? 4 : plan.depth > 8 ? 2 : 1;
  out.bits(3, 0).bits(5, profile).bits(32, 0x80000000U >> profile).bits(4, 0b1001).bits(44, 0).bits(8, 120);
}

// 7.3.2.1
Bytes videoParameterSet(const HevcPlan& plan) {
  HevcBitWriter out;
  out.bits(4, 0).bits(2, 3).bits(6, 0).bits(3, 0).bits(1, 1).bits(16, 0xFFFF);
  profileTierLevel(out, plan);
  out.flag(true).golomb(0).golomb(0).golomb(0);  // buffering
  out.bits(6, 0).golomb(0).flag(false).flag(false).align();
  return nalUnit(kVpsUnit, out.bytes());
}

// 7.3.2.2
Bytes sequenceParameterSet(const HevcPlan& plan) {
  HevcBitWriter out;
  out.bits(4, 0).bits(3, 0).bits(1, 1);
  profileTierLevel(out, plan);
  out.golomb(0).golomb(plan.chromaFormat);
  if (plan.chromaFormat == k444) out.flag(false);
  const unsigned width = codedHevcSide(plan.width, plan), height = codedHevcSide(plan.height, plan);
  const unsigned across = plan.chromaFormat == kMonochrome || plan.chromaFormat == k444 ? 1 : 2;
  const unsigned down = plan.chromaFormat == k420 ? 2 : 1;
  out.golomb(width).golomb(height).flag(true);
  out.golomb(0).golomb((width - plan.width) / across).golomb(0).golomb((height - plan.height) / down);
  out.golomb(plan.depth - 8).golomb(plan.depth - 8).golomb(0);
  out.flag(true).golomb(0).golomb(0).golomb(0);  // buffering
  out.golomb(plan.minCbLog2 - 3).golomb(plan.ctbLog2 - plan.minCbLog2);
  out.golomb(plan.minTbLog2 - 2).golomb(plan.maxTbLog2 - plan.minTbLog2).golomb(0).golomb(plan.transformDepth);
  out.flag(false).flag(false).flag(plan.sao);
  const bool pcm = plan.content != HevcContent::residuals;
  out.flag(pcm);
  if (pcm) {
    out.bits(4, plan.pcmDepthLuma - 1).bits(4, plan.pcmDepthChroma - 1);
    out.golomb(plan.minCbLog2 - 3).golomb(plan.maxPcmLog2 - plan.minCbLog2).flag(plan.pcmLoopFilterDisabled);
  }
  out.golomb(0).bits(4, 0);  // no reference pictures, motion vectors, strong smoothing, VUI
  out.flag(plan.rangeExtension != 0);
  if (plan.rangeExtension != 0) out.bits(8, 0x80).bits(9, plan.rangeExtension);
  out.align();
  return nalUnit(kSpsUnit, out.bytes());
}

bool hasTiles(const HevcPlan& plan) { return plan.tileColumns * plan.tileRows > 1; }

// 7.3.2.3
Bytes pictureParameterSet(const HevcPlan& plan) {
  HevcBitWriter out;
  out.golomb(0).golomb(0).flag(plan.unitsPerSegment > 0).flag(false).bits(3, 0).flag(plan.signHiding).flag(false);
  out.golomb(0)
      .golomb(0)
      .signedGolomb(plan.qp - 26)
      .flag(plan.constrainedIntra)
      .flag(plan.transformSkip)
      .flag(plan.cuQpDelta);
  if (plan.cuQpDelta) out.golomb(plan.cuQpDeltaDepth);
  out.signedGolomb(0).signedGolomb(0).bits(3, 0);
  out.flag(plan.transquantBypass).flag(hasTiles(plan)).flag(plan.wavefront);
  if (hasTiles(plan)) {
    const bool uniform = plan.tileWidths.empty() && plan.tileHeights.empty();
    out.golomb(plan.tileColumns - 1).golomb(plan.tileRows - 1).flag(uniform);
    if (!uniform) {
      for (const unsigned width : plan.tileWidths) out.golomb(width - 1);
      for (const unsigned height : plan.tileHeights) out.golomb(height - 1);
    }
    out.flag(true);
  }
  out.flag(true).flag(!plan.deblocking);
  if (!plan.deblocking) out.flag(false).flag(true);
  out.flag(false).flag(false).golomb(0).flag(false).flag(false).align();
  return nalUnit(kPpsUnit, out.bytes());
}

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
    written_.parameterSets = {videoParameterSet(plan_), sequenceParameterSet(plan_), pictureParameterSet(plan_)};
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
    if (hasTiles(plan_) || plan_.wavefront) writeEntryPoints(out);
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

HevcPlan randomHevcPlan(std::uint32_t seed) {
  std::mt19937 random(seed);
  const auto below = [&random](unsigned bound) { return static_cast<unsigned>(random()) % bound; };
  const auto chance = [&](unsigned percent) { return below(100) < percent; };
  HevcPlan plan;
  plan.seed = seed;
  plan.content = std::array{HevcContent::pcm, HevcContent::residuals, HevcContent::mixed}[below(3)];
  plan.chromaFormat = below(4);
  plan.depth = std::array{8U, 10U, 12U}[below(3)];
  plan.ctbLog2 = 4 + below(3);
  plan.minCbLog2 = 3 + below(std::min(3U, plan.ctbLog2 - 2));
  plan.maxTbLog2 = std::max(2 + below(4), plan.minCbLog2 == 3 ? 2U : plan.ctbLog2 == 6 ? 4U : 3U);
  plan.maxTbLog2 = std::min({plan.maxTbLog2, plan.ctbLog2, 5U});
  plan.minTbLog2 = 2 + below(std::min(plan.maxTbLog2, plan.minCbLog2 - 1) - 1);
  plan.transformDepth = below(plan.ctbLog2 - plan.minTbLog2 + 1);
  plan.maxPcmLog2 = plan.minCbLog2 + below(std::min(plan.ctbLog2, 5U) - plan.minCbLog2 + 1);
  plan.pcmDepthLuma = 1 + below(plan.depth);
  plan.pcmDepthChroma = 1 + below(plan.depth);
  plan.pcmLoopFilterDisabled = chance(50);
  for (bool* const tool :
       {&plan.sao, &plan.deblocking, &plan.transquantBypass, &plan.transformSkip, &plan.signHiding, &plan.cuQpDelta}) {
    *tool = chance(50);
  }
  plan.cuQpDeltaDepth = plan.cuQpDelta ? below(plan.ctbLog2 - plan.minCbLog2 + 1) : 0;
  plan.qp = 10 + static_cast<int>(below(35));
  plan.width = 2 * (4 + below(16 << (plan.ctbLog2 - 3)));
  plan.height = 2 * (4 + below(16 << (plan.ctbLog2 - 3)));
  const unsigned columns = ((plan.width - 1) >> plan.ctbLog2) + 1, rows = ((plan.height - 1) >> plan.ctbLog2) + 1;
  if (chance(50)) {
    plan.tileColumns = 1 + below(std::min(columns, 3U));
    plan.tileRows = 1 + below(std::min(rows, 3U));
    if (chance(50)) {
      plan.tileWidths.resize(plan.tileColumns - 1, 1);
      plan.tileHeights.resize(plan.tileRows - 1, 1);
      for (unsigned rest = columns - plan.tileColumns; unsigned& width : plan.tileWidths) {
        const unsigned more = below(rest + 1);
        width += more;
        rest -= more;
      }
    }
  }
  plan.wavefront = chance(40);
  plan.unitsPerSlice = chance(40) ? 1 + below(columns * rows) : 0;
  plan.unitsPerSegment = chance(40) ? 1 + below(columns * 2) : 0;
  return plan;
}

}  // namespace quellor::test_support
