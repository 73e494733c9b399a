#include "tests/support/hevc_unit_writer.h"

#include <algorithm>

namespace quellor::test_support {
namespace {

constexpr unsigned kMonochrome = 0, k420 = 1, k422 = 2, k444 = 3;

}  // namespace

unsigned codedHevcSide(unsigned side, const HevcPlan& plan) {
  return ((side + (1U << plan.minCbLog2) - 1) >> plan.minCbLog2) << plan.minCbLog2;
}

HevcUnitWriter::HevcUnitWriter(const HevcPlan& plan, const HevcBlocks& blocks, HevcBitWriter& out,
                               HevcArithmeticEncoder& encoder, WrittenHevc& written)
    : plan_(plan),
      blocks_(blocks),
      out_(out),
      encoder_(encoder),
      written_(written),
      random_(plan.seed),
      width_(codedHevcSide(plan.width, plan)),
      height_(codedHevcSide(plan.height, plan)),
      depths_((std::size_t{width_} / 8) * (height_ / 8)) {}

void HevcUnitWriter::write(unsigned address, unsigned sliceAddress) {
  address_ = address;
  if (plan_.sao) sao(sliceAddress);
  quadtree((address % blocks_.columns) << plan_.ctbLog2, (address / blocks_.columns) << plan_.ctbLog2, plan_.ctbLog2,
           0);
}

// 7.3.8.3; slice_sao_luma_flag and slice_sao_chroma_flag are on.
void HevcUnitWriter::sao(unsigned sliceAddress) {
  const unsigned column = address_ % blocks_.columns;
  if (column > 0 && address_ > sliceAddress && blocks_.tile[address_ - 1] == blocks_.tile[address_]) {
    const bool merge = chance(30);
    code(contexts.saoMerge[0], merge);
    if (merge) return;
  }
  const bool inSlice = address_ >= blocks_.columns && address_ - blocks_.columns >= sliceAddress;
  if (inSlice && blocks_.tile[address_ - blocks_.columns] == blocks_.tile[address_]) {
    const bool merge = chance(30);
    code(contexts.saoMerge[0], merge);
    if (merge) return;
  }
  unsigned type = 0;
  for (unsigned component = 0; component < (plan_.chromaFormat == kMonochrome ? 1U : 3U); ++component) {
    if (component < 2) {
      type = below(3);
      code(contexts.saoType[0], type != 0);
      if (type != 0) encoder_.bypass(type == 2);
    }
    if (type != 0) saoComponent(component, type);
  }
}

void HevcUnitWriter::saoComponent(unsigned component, unsigned type) {
  const unsigned maximum = (1U << (std::min(hevcDepth(plan_, component), 10U) - 5)) - 1;
  unsigned nonZero = 0;
  for (int i = 0; i < 4; ++i) {
    const unsigned offset = below(maximum + 1);
    for (unsigned ones = 0; ones < offset; ++ones) encoder_.bypass(true);
    if (offset < maximum) encoder_.bypass(false);
    nonZero += offset != 0 ? 1 : 0;
  }
  if (type == 1) {
    encoder_.bypass(nonZero, below(1U << nonZero));  // sao_offset_sign
    encoder_.bypass(5, below(29));                   // sao_band_position
  } else if (component < 2) {
    encoder_.bypass(2, below(4));  // sao_eo_class
  }
}

// 7.3.8.4
void HevcUnitWriter::quadtree(unsigned x, unsigned y, unsigned log2Size, unsigned depth) {
  const unsigned size = 1U << log2Size;
  bool split = log2Size > plan_.minCbLog2;
  if (split && x + size <= width_ && y + size <= height_) {
    split = (plan_.content == HevcContent::pcm && log2Size > plan_.maxPcmLog2) || chance(40);
    code(contexts.splitCodingUnit[splitContext(x, y, depth)], split);
  }
  if (log2Size + plan_.cuQpDeltaDepth >= plan_.ctbLog2) qpDeltaCoded_ = false;
  if (!split) return codingUnit(x, y, log2Size, depth);
  for (unsigned quarter = 0; quarter < 4; ++quarter) {
    const unsigned left = x + (quarter % 2) * size / 2, top = y + (quarter / 2) * size / 2;
    if (left < width_ && top < height_) quadtree(left, top, log2Size - 1, depth + 1);
  }
}

// 9.3.4.2.2
unsigned HevcUnitWriter::splitContext(unsigned x, unsigned y, unsigned depth) const {
  const auto deeper = [&](unsigned atX, unsigned atY) {
    return blocks_.available(atX >> plan_.ctbLog2, atY >> plan_.ctbLog2, address_) &&
           depths_[std::size_t{atY / 8} * (width_ / 8) + atX / 8] > depth;
  };
  return (x > 0 && deeper(x - 1, y) ? 1U : 0U) + (y > 0 && deeper(x, y - 1) ? 1U : 0U);
}

// 7.3.8.5
void HevcUnitWriter::codingUnit(unsigned x, unsigned y, unsigned log2Size, unsigned depth) {
  for (unsigned atY = y; atY < y + (1U << log2Size); atY += 8) {
    for (unsigned atX = x; atX < x + (1U << log2Size); atX += 8) {
      depths_[std::size_t{atY / 8} * (width_ / 8) + atX / 8] = depth;
    }
  }
  const bool bypass = plan_.transquantBypass && chance(40);
  if (plan_.transquantBypass) code(contexts.transquantBypass[0], bypass);
  const bool nxn = log2Size == plan_.minCbLog2 && plan_.content != HevcContent::pcm && chance(40);
  if (log2Size == plan_.minCbLog2) code(contexts.partMode[0], !nxn);
  if (plan_.content != HevcContent::residuals && !nxn && log2Size <= plan_.maxPcmLog2) {
    const bool pcm = plan_.content == HevcContent::pcm || chance(40);
    encoder_.terminate(pcm);
    if (pcm) return pcmSamples(x, y, log2Size);
  }
  intraModes(nxn);
  transformTree({x, y, log2Size, 0, 0, nxn, bypass, 1, 1});
}

// 7.3.8.7
void HevcUnitWriter::pcmSamples(unsigned x, unsigned y, unsigned log2Size) {
  for (unsigned plane = 0; plane < (plan_.chromaFormat == kMonochrome ? 1U : 3U); ++plane) {
    const unsigned across = plane > 0 && plan_.chromaFormat != k444 ? 1 : 0;
    const unsigned down = plane > 0 && plan_.chromaFormat == k420 ? 1 : 0;
    const unsigned bits = plane == 0 ? plan_.pcmDepthLuma : plan_.pcmDepthChroma;
    for (unsigned row = y >> down; row < (y + (1U << log2Size)) >> down; ++row) {
      for (unsigned column = x >> across; column < (x + (1U << log2Size)) >> across; ++column) {
        const unsigned sample = below(1U << bits);
        out_.bits(bits, sample);
        written_.samples[plane][std::size_t{row} * (width_ >> across) + column] =
            static_cast<int>(sample << (hevcDepth(plan_, plane) - bits));  // 8.4.4.1
      }
    }
  }
  encoder_.start();
}

/// DC everywhere. All neighbours being DC, or counting as such (8.4.2), it is the second candidate of each block; and
/// the mode of chroma is that of luma.
void HevcUnitWriter::intraModes(bool nxn) {
  const unsigned parts = nxn ? 4 : 1;
  for (unsigned part = 0; part < parts; ++part) code(contexts.previousMode[0], true);
  for (unsigned part = 0; part < parts; ++part) encoder_.bypass(2, 0b10);
  const unsigned chromaParts = plan_.chromaFormat == k444 ? parts : plan_.chromaFormat == kMonochrome ? 0 : 1;
  for (unsigned part = 0; part < chromaParts; ++part) code(contexts.chromaMode[0], false);
}

// 7.3.8.8
void HevcUnitWriter::transformTree(TransformNode node) {
  const unsigned maximumDepth = plan_.transformDepth + (node.nxn ? 1 : 0);
  const bool forced = node.log2Size > plan_.maxTbLog2 || (node.nxn && node.depth == 0);
  bool split = forced;
  if (!forced && node.log2Size > plan_.minTbLog2 && node.depth < maximumDepth) {
    split = chance(40);
    code(contexts.splitTransform[5 - node.log2Size], split);
  }
  if ((node.log2Size > 2 && plan_.chromaFormat != kMonochrome) || plan_.chromaFormat == k444) {
    node.cb = chromaFlags(node, node.cb, split);
    node.cr = chromaFlags(node, node.cr, split);
  } else if (plan_.chromaFormat == kMonochrome) {
    node.cb = node.cr = 0;
  }
  if (!split) return transformUnit(node);
  const unsigned half = 1U << (node.log2Size - 1);
  for (unsigned index = 0; index < 4; ++index) {
    TransformNode child = node;
    child.x += (index & 1U) * half;
    child.y += (index >> 1) * half;
    child.log2Size--;
    child.depth++;
    child.index = index;
    transformTree(child);
  }
}

unsigned HevcUnitWriter::chromaFlags(const TransformNode& node, unsigned parent, bool split) {
  if (parent == 0) return 0;
  const bool two = plan_.chromaFormat == k422 && (!split || node.log2Size == 3);
  unsigned flags = 0;
  for (unsigned i = 0; i < (two ? 2U : 1U); ++i) {
    const bool coded = chance(50);
    code(contexts.codedChroma[node.depth], coded);
    flags |= coded ? 1U << i : 0U;
  }
  return flags;
}

// 7.3.8.10
void HevcUnitWriter::transformUnit(const TransformNode& node) {
  const bool luma = chance(60);
  code(contexts.codedLuma[node.depth == 0 ? 1 : 0], luma);
  if (!luma && node.cb == 0 && node.cr == 0) return;
  if (plan_.cuQpDelta && !qpDeltaCoded_) qpDelta();
  if (luma) residual(node.log2Size, false, node.bypass);
  if (plan_.chromaFormat == k444) {
    chromaBlocks(node, node.log2Size);
  } else if (node.log2Size > 2) {
    chromaBlocks(node, node.log2Size - 1);
  } else if (node.index == 3) {
    chromaBlocks(node, 2);
  }
}

void HevcUnitWriter::chromaBlocks(const TransformNode& node, unsigned log2Size) {
  for (const unsigned coded : {node.cb, node.cr}) {
    for (const unsigned bit : {1U, 2U}) {
      if ((coded & bit) != 0) residual(log2Size, true, node.bypass);
    }
  }
}

// 7.3.8.14; the magnitude is a truncated unary prefix of up to five and an exponential Golomb suffix (9.3.3.10).
void HevcUnitWriter::qpDelta() {
  qpDeltaCoded_ = true;
  const unsigned magnitude = chance(80) ? below(8) : below(26);
  for (unsigned i = 0; i < std::min(magnitude, 5U); ++i) code(contexts.qpDelta[i == 0 ? 0 : 1], true);
  if (magnitude < 5) code(contexts.qpDelta[magnitude == 0 ? 0 : 1], false);
  if (magnitude >= 5) {
    unsigned rest = magnitude - 5, k = 0;
    for (; rest >= 1U << k; ++k) {
      encoder_.bypass(true);
      rest -= 1U << k;
    }
    encoder_.bypass(false);
    encoder_.bypass(k, rest);
  }
  if (magnitude > 0) encoder_.bypass(chance(50));
}

void HevcUnitWriter::residual(unsigned log2Size, bool chroma, bool bypass) {
  if (plan_.transformSkip && !bypass && log2Size == 2) code(contexts.transformSkip[chroma ? 1 : 0], chance(50));
  HevcResidual block{log2Size, chroma, bypass, plan_.signHiding, {}};
  block.levels.resize(std::size_t{1} << (2 * log2Size));
  const unsigned percent = 1 + below(chance(50) ? 12 : 70);
  const unsigned bits = 1 + below(chance(85) ? 3 : 5);
  for (int& level : block.levels) {
    if (!chance(percent)) continue;
    const int magnitude = 1 + static_cast<int>(below(1U << bits) >> below(bits + 1));
    level = chance(50) ? -magnitude : magnitude;
  }
  if (std::all_of(block.levels.begin(), block.levels.end(), [](int level) { return level == 0; })) {
    block.levels[below(static_cast<unsigned>(block.levels.size()))] = 1;
  }
  writeHevcResidual(encoder_, contexts, block);
}

}  // namespace quellor::test_support
