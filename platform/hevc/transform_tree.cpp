#include <algorithm>

#include "platform/hevc/coding_tree.h"

namespace quellor::hevc {
namespace {

// 7.4.9.11
Scan scanOf(unsigned mode) {
  if (mode >= 6 && mode <= 14) return Scan::vertical;
  return mode >= 22 && mode <= 30 ? Scan::horizontal : Scan::diagonal;
}

}  // namespace

// 7.3.8.8. A 4x4 block has no chroma of its own unless that is of full size: the four share the flags of their parent.
// 4:2:2 has two square chroma blocks, one below the other, where the tree ends; they are told apart already at the
// parent of 4x4 blocks.
bool CodingTreeParser::parseTransformTree(const CodingUnit& unit, TransformNode node) {
  bool split = node.log2Size > sps_.maxTbLog2 || (unit.split && node.depth == 0);
  const unsigned maximumDepth = sps_.maxIntraTransformDepth + (unit.split ? 1 : 0);
  if (!split && node.log2Size > sps_.minTbLog2 && node.depth < maximumDepth) {
    split = decoder.decode(contexts.splitTransform[5 - node.log2Size]);
  }
  // What is not coded is inherited: a parent without coded chroma has no child with it.
  if ((node.log2Size > 2 && sps_.chromaArrayType != kMonochrome) || sps_.chromaArrayType == k444) {
    const bool two = sps_.chromaArrayType == k422 && (!split || node.log2Size == 3);
    node.codedCb = parseChromaFlags(node.depth == 0 || node.codedCb != 0, two, node.depth);
    node.codedCr = parseChromaFlags(node.depth == 0 || node.codedCr != 0, two, node.depth);
  }
  if (!split) return parseTransformUnit(unit, node);
  TransformNode child = node;
  child.log2Size--;
  child.depth++;
  for (child.siblings = 0; child.siblings < 4; ++child.siblings) {
    child.quarter = node.depth == 0 ? child.siblings : node.quarter;
    if (!parseTransformTree(unit, child)) return false;
  }
  return true;
}

unsigned CodingTreeParser::parseChromaFlags(bool parentCoded, bool two, unsigned depth) {
  if (!parentCoded) return 0;
  const unsigned upper = decoder.decode(contexts.codedChroma[depth]) ? 1U : 0U;
  return upper | (two && decoder.decode(contexts.codedChroma[depth]) ? 2U : 0U);
}

// 7.3.8.10
bool CodingTreeParser::parseTransformUnit(const CodingUnit& unit, const TransformNode& node) {
  const bool codedLuma = decoder.decode(contexts.codedLuma[node.depth == 0 ? 1 : 0]);
  if (!codedLuma && node.codedCb == 0 && node.codedCr == 0) return true;
  if (pps_.cuQpDelta && !qpDeltaCoded_ && !parseQpDelta()) return false;
  const unsigned part = unit.split ? node.quarter : 0;
  if (codedLuma && !parseBlock(unit, node.log2Size, false, unit.lumaModes[part])) return false;
  unsigned chromaLog2Size = node.log2Size;
  if (sps_.chromaArrayType != k444) {
    if (node.log2Size == 2 && node.siblings != 3) {
      return true;  // the chroma of four 4x4 blocks comes with the last of them
    }
    chromaLog2Size = std::max(node.log2Size - 1, 2U);
  }
  return parseChromaBlocks(unit, chromaLog2Size, unit.chromaModes[part], node.codedCb) &&
         parseChromaBlocks(unit, chromaLog2Size, unit.chromaModes[part], node.codedCr);
}

// 7.3.8.14, 9.3.3.10
bool CodingTreeParser::parseQpDelta() {
  qpDeltaCoded_ = true;
  int magnitude = 0;
  while (magnitude < 5 && decoder.decode(contexts.qpDelta[magnitude == 0 ? 0 : 1])) ++magnitude;
  if (magnitude == 5) {
    int bits = 0;
    while (decoder.bypass()) {
      magnitude += 1 << bits;
      if (++bits > 7) return false;
    }
    magnitude += static_cast<int>(decoder.bypass(bits));
  }
  const bool negative = magnitude != 0 && decoder.bypass();
  const int half = static_cast<int>(sps_.bitDepthLuma - 8) * 3;  // QpBdOffset / 2
  return negative ? magnitude <= 26 + half : magnitude <= 25 + half;
}

bool CodingTreeParser::parseChromaBlocks(const CodingUnit& unit, unsigned log2Size, unsigned mode, unsigned coded) {
  return ((coded & 1U) == 0 || parseBlock(unit, log2Size, true, mode)) &&
         ((coded & 2U) == 0 || parseBlock(unit, log2Size, true, mode));
}

bool CodingTreeParser::parseBlock(const CodingUnit& unit, unsigned log2Size, bool chroma, unsigned mode) {
  const bool scanFollowsMode = log2Size == 2 || (log2Size == 3 && (!chroma || sps_.chromaArrayType == k444));
  ResidualBlock block;
  block.log2Size = log2Size;
  block.chroma = chroma;
  block.scan = scanFollowsMode ? scanOf(mode) : Scan::diagonal;
  block.transformSkipFlag = pps_.transformSkip && !unit.bypass && log2Size == 2;
  block.signHiding = pps_.signHiding && !unit.bypass;
  return parseResidual(decoder, contexts, block);
}

}  // namespace quellor::hevc
