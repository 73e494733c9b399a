#include "platform/hevc/parameter_sets.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "platform/values/limits.h"

namespace quellor::hevc {
namespace {

constexpr unsigned kMaximumSide = 1U << 20;
constexpr unsigned kScreenContentProfile = 9;  // general_profile_idc (A.3.7)
constexpr unsigned kHighThroughputScreenContentProfile = 11;
constexpr unsigned kMaximumSubLayers = 6;  // sps_max_sub_layers_minus1 (7.4.3.2.1)
constexpr const char* kExtension = "a tool of the range or screen content extensions";

/// Its offsets are in units of colour differences (table 6-1).
void readConformanceWindow(BitReader& reader, Sps& sps) {
  sps.shownWidth = sps.width;
  sps.shownHeight = sps.height;
  if (!reader.flag()) return;
  const unsigned across = sps.chromaArrayType == k420 || sps.chromaArrayType == k422 ? 2 : 1;
  const unsigned down = sps.chromaArrayType == k420 ? 2 : 1;
  const unsigned left = reader.unsignedGolomb(kMaximumSide);
  const unsigned right = reader.unsignedGolomb(kMaximumSide);
  const unsigned top = reader.unsignedGolomb(kMaximumSide);
  const unsigned bottom = reader.unsignedGolomb(kMaximumSide);
  sps.shownWidth -= std::min(sps.shownWidth, across * (left + right));
  sps.shownHeight -= std::min(sps.shownHeight, down * (top + bottom));
}

void readBlockSizes(BitReader& reader, Sps& sps) {
  sps.minCbLog2 = 3 + reader.unsignedGolomb(3);
  sps.ctbLog2 = sps.minCbLog2 + reader.unsignedGolomb(3);
  sps.minTbLog2 = 2 + reader.unsignedGolomb(3);
  sps.maxTbLog2 = sps.minTbLog2 + reader.unsignedGolomb(3);
  const unsigned maximumDepth = sps.ctbLog2 - std::min(sps.minTbLog2, sps.ctbLog2);
  reader.unsignedGolomb(maximumDepth);
  sps.maxIntraTransformDepth = reader.unsignedGolomb(maximumDepth);
}

bool hasLegalBlockSizes(const Sps& sps) {
  const unsigned minCbMask = (1U << sps.minCbLog2) - 1;
  return sps.ctbLog2 >= 4 && sps.ctbLog2 <= 6 && sps.minTbLog2 < sps.minCbLog2 &&
         sps.maxTbLog2 <= std::min(sps.ctbLog2, 5U) && sps.width > 0 && sps.height > 0 &&
         (sps.width & minCbMask) == 0 && (sps.height & minCbMask) == 0 &&
         std::uint64_t{sps.width} * sps.height <= kMaximumPixels;
}

void readPcm(BitReader& reader, Sps& sps) {
  sps.pcmDepthLuma = reader.bits(4) + 1;
  sps.pcmDepthChroma = reader.bits(4) + 1;
  sps.minPcmLog2 = 3 + reader.unsignedGolomb(2);
  sps.maxPcmLog2 = sps.minPcmLog2 + reader.unsignedGolomb(2);
  sps.pcmLoopFilterDisabled = reader.flag();
}

bool hasLegalPcm(const Sps& sps) {
  return !sps.pcm || (sps.pcmDepthLuma <= sps.bitDepthLuma && sps.pcmDepthChroma <= sps.bitDepthChroma &&
                      sps.minPcmLog2 >= std::min(sps.minCbLog2, 5U) && sps.maxPcmLog2 <= std::min(sps.ctbLog2, 5U));
}

void readReferenceSets(BitReader& reader, Sps& sps) {
  sps.shortTermSets = reader.unsignedGolomb(64);
  for (unsigned i = 0; i < sps.shortTermSets; ++i) {
    if (!skipShortTermSet(reader, i)) {
      sps.notFollowed = "a set of reference pictures that is predicted from another";
      return;  // what comes behind it cannot be found
    }
  }
  sps.longTermPictures = reader.flag();
  if (sps.longTermPictures) {
    sps.longTermCandidates = reader.unsignedGolomb(32);
    for (unsigned i = 0; i < sps.longTermCandidates; ++i) reader.skip(sps.pocBits + 1);
  }
}

/// sps_range_extension and its siblings: whether any of them may change how an intra slice is parsed.
bool mayChangeIntraParsing(BitReader& reader) {
  if (!reader.flag()) return false;
  const bool range = reader.flag();
  const bool others = (reader.bits(7) & 0x3FU) != 0;  // all but the multilayer extension
  if (!range) return others;
  // transform_skip_rotation, transform_skip_context, implicit_rdpcm, explicit_rdpcm, extended_precision,
  // intra_smoothing_disabled, high_precision_offsets, persistent_rice_adaptation, cabac_bypass_alignment.
  constexpr std::uint32_t kHarmless = 0b100101100;
  return others || (reader.bits(9) & ~kHarmless) != 0;
}

bool ppsMayChangeIntraParsing(BitReader& reader, bool transformSkip) {
  if (!reader.flag()) return false;
  const bool range = reader.flag();
  const bool others = (reader.bits(7) & 0x3FU) != 0;
  if (!range) return others;
  const bool largeTransformSkip = transformSkip && reader.unsignedGolomb(3) != 0;
  const bool crossComponent = reader.flag();
  const bool chromaQpOffsets = reader.flag();
  return others || largeTransformSkip || crossComponent || chromaQpOffsets;
}

void readTiles(BitReader& reader, Pps& pps) {
  constexpr unsigned kMaximumTiles = 1024;  // far above the 20 x 22 of the highest level (table A.8)
  pps.tileColumns = reader.unsignedGolomb(kMaximumTiles) + 1;
  pps.tileRows = reader.unsignedGolomb(kMaximumTiles) + 1;
  pps.uniformTiles = reader.flag();
  if (!pps.uniformTiles) {
    for (unsigned i = 1; i < pps.tileColumns && !reader.failed(); ++i) {
      pps.tileWidths.push_back(reader.unsignedGolomb(kMaximumSide) + 1);
    }
    for (unsigned i = 1; i < pps.tileRows && !reader.failed(); ++i) {
      pps.tileHeights.push_back(reader.unsignedGolomb(kMaximumSide) + 1);
    }
  }
  reader.flag();
}

/// Sizes of the decoded picture buffer, one for each sub-layer or one for all. False where they are impossible
/// (7.4.3.2.1; A.4.2 for the greatest size).
bool readBufferSizes(BitReader& reader, unsigned subLayers) {
  constexpr unsigned kMaximumBuffer = 16;
  for (unsigned i = reader.flag() ? 0 : subLayers; i <= subLayers; ++i) {
    const unsigned greatest = reader.unsignedGolomb(kMaximumBuffer - 1);
    reader.unsignedGolomb(greatest);  // pictures that come before one in decoding and behind it in output
    reader.unsignedGolomb();
  }
  return !reader.failed();
}

/// Whether a set that was read ends no later than its trailing bits begin (7.3.2.11).
bool isWhole(const BitReader& reader, ByteView payload) {
  while (!payload.empty() && payload.back() == 0) payload = payload.first(payload.size() - 1);
  if (payload.empty() || reader.failed()) return false;
  const auto zeros = static_cast<std::size_t>(std::countr_zero(payload.back()));
  return reader.position() + zeros < 8 * payload.size();
}

}  // namespace

std::optional<unsigned> parseVps(ByteView payload) {
  constexpr unsigned kMaximumLayerSets = 1024;
  BitReader reader(payload);
  const unsigned id = reader.bits(4);
  const bool baseLayer = reader.bits(2) == 3;  // there, and in these units
  reader.skip(6);
  const unsigned subLayers = reader.bits(3);
  reader.skip(1);
  if (!baseLayer || reader.bits(16) != 0xFFFF || subLayers > kMaximumSubLayers) return std::nullopt;
  readProfileTierLevel(reader, subLayers);
  if (!readBufferSizes(reader, subLayers)) return std::nullopt;
  const unsigned layers = reader.bits(6) + 1;
  for (unsigned sets = reader.unsignedGolomb(kMaximumLayerSets - 1); sets > 0; --sets) reader.skip(layers);
  if (reader.flag()) {  // timing
    reader.skip(64);
    if (reader.flag()) reader.unsignedGolomb();
    if (reader.unsignedGolomb() != 0) return std::nullopt;
  }
  reader.flag();  // extension
  return isWhole(reader, payload) ? std::optional(id) : std::nullopt;
}

std::optional<Sps> parseSps(ByteView payload, unsigned& id) {
  BitReader reader(payload);
  Sps sps;
  sps.vpsId = reader.bits(4);
  const unsigned subLayers = reader.bits(3);
  if (subLayers > kMaximumSubLayers) return std::nullopt;
  reader.skip(1);
  // libavcodec 7 refuses these profiles whatever tools a picture uses.
  const unsigned profile = readProfileTierLevel(reader, subLayers);
  if (profile == kScreenContentProfile || profile == kHighThroughputScreenContentProfile) {
    sps.notFollowed = "a profile of screen content";
  }
  id = reader.unsignedGolomb(kMaximumSps - 1);
  sps.chromaArrayType = reader.unsignedGolomb(3);
  if (sps.chromaArrayType == k444 && reader.flag()) sps.notFollowed = "separate color planes";
  sps.width = reader.unsignedGolomb(kMaximumSide);
  sps.height = reader.unsignedGolomb(kMaximumSide);
  readConformanceWindow(reader, sps);
  sps.bitDepthLuma = 8 + reader.unsignedGolomb(8);
  sps.bitDepthChroma = 8 + reader.unsignedGolomb(8);
  sps.pocBits = 4 + reader.unsignedGolomb(12);
  if (!readBufferSizes(reader, subLayers)) return std::nullopt;
  readBlockSizes(reader, sps);
  if (reader.flag() && reader.flag()) skipScalingLists(reader);
  reader.flag();  // asymmetric motion partitions
  sps.sao = reader.flag();
  sps.pcm = reader.flag();
  if (sps.pcm) readPcm(reader, sps);
  readReferenceSets(reader, sps);
  if (sps.notFollowed == nullptr) {
    sps.temporalMvp = reader.flag();
    reader.flag();  // strong intra smoothing
    if (reader.flag()) sps.usability = readVideoUsability(reader, subLayers);
    if (mayChangeIntraParsing(reader)) sps.notFollowed = kExtension;
  }
  // Where reading stopped before its end, nothing is known of that.
  const bool toTheEnd = sps.notFollowed == nullptr || sps.notFollowed == kExtension;
  if (reader.failed() || (toTheEnd && !isWhole(reader, payload))) return std::nullopt;
  if (!hasLegalBlockSizes(sps) || !hasLegalPcm(sps)) return std::nullopt;
  return sps;
}

std::optional<Pps> parsePps(ByteView payload, unsigned& id) {
  BitReader reader(payload);
  Pps pps;
  id = reader.unsignedGolomb(kMaximumPps - 1);
  pps.spsId = reader.unsignedGolomb(kMaximumSps - 1);
  pps.dependentSegments = reader.flag();
  pps.outputFlag = reader.flag();
  pps.extraHeaderBits = reader.bits(3);
  pps.signHiding = reader.flag();
  reader.flag();  // cabac_init_present
  reader.unsignedGolomb(14);
  reader.unsignedGolomb(14);
  pps.initQp = 26 + std::clamp(reader.signedGolomb(), -100, 100);
  pps.constrainedIntra = reader.flag();
  pps.transformSkip = reader.flag();
  pps.cuQpDelta = reader.flag();
  if (pps.cuQpDelta) pps.cuQpDeltaDepth = reader.unsignedGolomb(3);
  for (int component = 0; component < 2; ++component) {
    constexpr int kMaximumOffset = 12;  // pps_cb_qp_offset and pps_cr_qp_offset (7.4.3.3.1)
    if (std::abs(reader.signedGolomb()) > kMaximumOffset) return std::nullopt;
  }
  pps.sliceChromaQpOffsets = reader.flag();
  reader.skip(2);  // weighted prediction
  pps.transquantBypass = reader.flag();
  pps.tiles = reader.flag();
  pps.wavefront = reader.flag();
  if (pps.tiles) readTiles(reader, pps);
  pps.filterAcrossSlices = reader.flag();
  if (reader.flag()) {
    pps.deblockingOverride = reader.flag();
    pps.deblockingDisabled = reader.flag();
    if (!pps.deblockingDisabled) {
      reader.signedGolomb();
      reader.signedGolomb();
    }
  }
  if (reader.flag()) skipScalingLists(reader);
  reader.flag();  // lists modification
  reader.unsignedGolomb(4);
  pps.headerExtension = reader.flag();
  if (ppsMayChangeIntraParsing(reader, pps.transformSkip)) pps.notFollowed = kExtension;
  if (!isWhole(reader, payload)) return std::nullopt;
  return pps;
}

}  // namespace quellor::hevc
