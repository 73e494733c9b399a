#include "platform/hevc/coding_tree.h"

#include <algorithm>

namespace quellor::hevc {
namespace {

// ITU-T H.265, table 8-1
constexpr unsigned kPlanar = 0;
constexpr unsigned kDc = 1;
constexpr unsigned kHorizontal = 10;
constexpr unsigned kVertical = 26;
constexpr unsigned kDiagonal = 34;

// Table 8-3: the mode of 4:2:2 chroma by that of 4:4:4
constexpr std::array<std::uint8_t, 35> kChroma422Modes = {0,  1,  2,  2,  2,  2,  3,  5,  7,  8,  10, 11,
                                                          13, 15, 16, 18, 19, 20, 21, 22, 23, 23, 24, 24,
                                                          25, 25, 26, 27, 27, 28, 28, 29, 29, 30, 31};

}  // namespace

CodingTreeParser::CodingTreeParser(const Sps& sps, const Pps& pps, LineAbove& above)
    : sps_(sps), pps_(pps), ctbMask_((1U << sps.ctbLog2) - 1), above_(above) {}

bool CodingTreeParser::start(ByteView data, std::size_t offset) {
  if (!ArithmeticDecoder::canStart(data, offset)) return false;
  data_ = data;
  decoder = ArithmeticDecoder(data, offset);
  return true;
}

const char* CodingTreeParser::parse(const SliceHeader& slice, unsigned column, unsigned row, bool hasLeft,
                                    bool hasAbove) {
  if (!parseUnit(slice, column, row, hasLeft, hasAbove)) return "a coding tree unit is broken";
  return decoder.overran() ? "a slice segment's code goes on behind its data" : nullptr;
}

bool CodingTreeParser::parseUnit(const SliceHeader& slice, unsigned column, unsigned row, bool hasLeft, bool hasAbove) {
  modeAbove_.fill(kDc);
  if (!hasLeft) {
    modeLeft_.fill(kDc);
    depthLeft_.fill(0);
  }
  if (!hasAbove) {
    const std::size_t blocks = std::size_t{1} << (sps_.ctbLog2 - sps_.minCbLog2);
    std::fill_n(above_.depth.begin() + static_cast<std::ptrdiff_t>(column * blocks), blocks, std::uint8_t{0});
  }
  column_ = column;
  if (slice.saoLuma || slice.saoChroma) {
    parseSao(slice, hasLeft, hasAbove);
  } else {
    above_.chromaOffset[column] = 0;
  }
  return parseQuadtree(column << sps_.ctbLog2, row << sps_.ctbLog2, sps_.ctbLog2, 0);
}

// 7.3.8.3. Merging takes over the parameters of the unit to the left or above. Cr has the type of Cb, and the class of
// its edge offsets.
void CodingTreeParser::parseSao(const SliceHeader& slice, bool hasLeft, bool hasAbove) {
  if (hasLeft && decoder.decode(contexts.saoMerge)) {
    above_.chromaOffset[column_] = above_.chromaOffset[column_ - 1];
    return;
  }
  if (hasAbove && decoder.decode(contexts.saoMerge)) return;
  above_.chromaOffset[column_] = 0;
  unsigned type = 0;
  for (unsigned component = 0; component < (sps_.chromaArrayType == kMonochrome ? 1U : 3U); ++component) {
    if (component == 0 ? !slice.saoLuma : !slice.saoChroma) continue;
    if (component < 2) type = !decoder.decode(contexts.saoType) ? 0 : !decoder.bypass() ? 1 : 2;
    if (type != 0) parseSaoOffsets(component, type);
    if (component == 1) above_.chromaOffset[column_] = type != 0 ? 1 : 0;
  }
}

void CodingTreeParser::parseSaoOffsets(unsigned component, unsigned type) {
  constexpr unsigned kBandOffset = 1;
  const unsigned depth = component == 0 ? sps_.bitDepthLuma : sps_.bitDepthChroma;
  const unsigned maximum = (1U << (std::min(depth, 10U) - 5)) - 1;
  int nonZero = 0;
  for (int offset = 0; offset < 4; ++offset) {
    unsigned value = 0;
    while (value < maximum && decoder.bypass()) ++value;
    nonZero += value != 0 ? 1 : 0;
  }
  if (type == kBandOffset) {
    decoder.bypass(nonZero + 5);  // signs and position
  } else if (component < 2) {
    decoder.bypass(2);  // class
  }
}

// 7.3.8.4
bool CodingTreeParser::parseQuadtree(unsigned x, unsigned y, unsigned log2Size, unsigned depth) {
  const bool split = splitsCodingUnit(x, y, log2Size, depth);
  if (log2Size + pps_.cuQpDeltaDepth >= sps_.ctbLog2) qpDeltaCoded_ = false;
  if (!split) return parseCodingUnit(x, y, log2Size, depth);
  const unsigned half = 1U << (log2Size - 1);
  for (unsigned quarter = 0; quarter < 4; ++quarter) {
    const unsigned left = x + (quarter & 1U) * half;
    const unsigned top = y + (quarter >> 1) * half;
    if (left < sps_.width && top < sps_.height && !parseQuadtree(left, top, log2Size - 1, depth + 1)) return false;
  }
  return true;
}

// split_cu_flag, which is not coded where the block cannot be split or, lying across the picture's edge, must be; its
// context counts the neighbours that are split further (9.3.4.2.2).
bool CodingTreeParser::splitsCodingUnit(unsigned x, unsigned y, unsigned log2Size, unsigned depth) {
  const unsigned size = 1U << log2Size;
  if (log2Size <= sps_.minCbLog2) return false;
  if (x + size > sps_.width || y + size > sps_.height) return true;
  const bool leftIsDeeper = depthLeft_[(y & ctbMask_) >> sps_.minCbLog2] > depth;
  const bool aboveIsDeeper = above_.depth[x >> sps_.minCbLog2] > depth;
  return decoder.decode(contexts.splitCodingUnit[(leftIsDeeper ? 1U : 0U) + (aboveIsDeeper ? 1U : 0U)]);
}

// 7.3.8.5
bool CodingTreeParser::parseCodingUnit(unsigned x, unsigned y, unsigned log2Size, unsigned depth) {
  storeDepth(x, y, log2Size, depth);
  CodingUnit unit;
  unit.x = x;
  unit.y = y;
  unit.log2Size = log2Size;
  unit.bypass = pps_.transquantBypass && decoder.decode(contexts.transquantBypass);
  if (unit.bypass && above_.chromaOffset[column_] != 0) exemptsChromaFromOffset = true;
  unit.split = log2Size == sps_.minCbLog2 && !decoder.decode(contexts.partMode);
  const bool mayBePcm = sps_.pcm && !unit.split && log2Size >= sps_.minPcmLog2 && log2Size <= sps_.maxPcmLog2;
  if (mayBePcm && decoder.terminate()) {
    storeLumaMode(x, y, 1U << log2Size, kDc);
    if (sps_.pcmLoopFilterDisabled && above_.chromaOffset[column_] != 0) exemptsChromaFromOffset = true;
    return parsePcmSamples(log2Size);
  }
  parseModes(unit);
  TransformNode root;
  root.log2Size = log2Size;
  return parseTransformTree(unit, root);
}

void CodingTreeParser::storeDepth(unsigned x, unsigned y, unsigned log2Size, unsigned depth) {
  const std::size_t blocks = std::size_t{1} << (log2Size - sps_.minCbLog2);
  std::fill_n(depthLeft_.begin() + ((y & ctbMask_) >> sps_.minCbLog2), blocks, static_cast<std::uint8_t>(depth));
  std::fill_n(above_.depth.begin() + (x >> sps_.minCbLog2), blocks, static_cast<std::uint8_t>(depth));
}

// 7.3.8.7. pcm_flag ended the arithmetic code like an end of data: a one and zeros up to a whole byte. Behind the
// samples a new code begins (9.3.2.5), but the context variables go on.
bool CodingTreeParser::parsePcmSamples(unsigned log2Size) {
  const std::size_t luma = std::size_t{1} << (2 * log2Size);
  const unsigned type = sps_.chromaArrayType;
  const std::size_t chroma = type == kMonochrome ? 0 : type == k420 ? luma / 2 : type == k422 ? luma : luma * 2;
  const std::size_t bits = luma * sps_.pcmDepthLuma + chroma * sps_.pcmDepthChroma;
  const auto begin = decoder.endOfSubset();
  return begin && start(data_, *begin + (bits + 7) / 8);
}

void CodingTreeParser::parseModes(CodingUnit& unit) {
  const unsigned parts = unit.split ? 4 : 1;
  const unsigned size = (1U << unit.log2Size) >> (unit.split ? 1 : 0);
  std::array<bool, 4> predicted{};
  // All flags come before the first mode (7.3.8.5).
  for (unsigned part = 0; part < parts; ++part) predicted[part] = decoder.decode(contexts.previousLumaMode);
  for (unsigned part = 0; part < parts; ++part) {
    const unsigned x = unit.x + (part & 1U) * size;
    const unsigned y = unit.y + (part >> 1) * size;
    unit.lumaModes[part] = parseLumaMode(x, y, predicted[part]);
    storeLumaMode(x, y, size, unit.lumaModes[part]);
  }
  if (sps_.chromaArrayType == kMonochrome) return;
  const unsigned chromaParts = sps_.chromaArrayType == k444 ? parts : 1;
  for (unsigned part = 0; part < chromaParts; ++part) unit.chromaModes[part] = parseChromaMode(unit.lumaModes[part]);
  std::fill(unit.chromaModes.begin() + chromaParts, unit.chromaModes.end(), unit.chromaModes[0]);
}

// 8.4.2, with mpm_idx and rem_intra_luma_pred_mode. The mode has to be known because the scan of small blocks, and with
// it the contexts of their coefficients, follows from it (7.4.9.11).
unsigned CodingTreeParser::parseLumaMode(unsigned x, unsigned y, bool predicted) {
  const unsigned left = modeLeft_[(y & ctbMask_) >> 2];
  const unsigned above = modeAbove_[(x & ctbMask_) >> 2];
  std::array<unsigned, 3> candidates{};
  if (left != above) {
    const bool hasPlanar = left == kPlanar || above == kPlanar;
    const bool hasDc = left == kDc || above == kDc;
    candidates = {left, above, !hasPlanar ? kPlanar : !hasDc ? kDc : kVertical};
  } else if (left <= kDc) {
    candidates = {kPlanar, kDc, kVertical};
  } else {
    candidates = {left, 2 + (left + 29) % 32, 2 + (left - 2 + 1) % 32};
  }
  if (predicted) return candidates[!decoder.bypass() ? 0 : !decoder.bypass() ? 1 : 2];
  unsigned mode = decoder.bypass(5);
  std::sort(candidates.begin(), candidates.end());
  for (const unsigned candidate : candidates) mode += mode >= candidate ? 1 : 0;
  return mode;
}

void CodingTreeParser::storeLumaMode(unsigned x, unsigned y, unsigned size, unsigned mode) {
  std::fill_n(modeAbove_.begin() + ((x & ctbMask_) >> 2), size / 4, static_cast<std::uint8_t>(mode));
  std::fill_n(modeLeft_.begin() + ((y & ctbMask_) >> 2), size / 4, static_cast<std::uint8_t>(mode));
}

// 8.4.3
unsigned CodingTreeParser::parseChromaMode(unsigned lumaMode) {
  unsigned mode = lumaMode;
  if (decoder.decode(contexts.chromaMode)) {
    constexpr std::array<unsigned, 4> kModes = {kPlanar, kVertical, kHorizontal, kDc};
    mode = kModes[decoder.bypass(2)];
    mode = mode == lumaMode ? kDiagonal : mode;
  }
  return sps_.chromaArrayType == k422 ? kChroma422Modes[mode] : mode;
}

}  // namespace quellor::hevc
