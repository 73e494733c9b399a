#include "platform/hevc/slice_header.h"

#include <algorithm>
#include <bit>

#include "platform/hevc/syntax.h"

namespace quellor::hevc {
namespace {

// ITU-T H.265, table 7-1
constexpr unsigned kFirstIrap = 16;
constexpr unsigned kLastIrap = 23;
constexpr unsigned kIdrWithRadl = 19;
constexpr unsigned kIdrWithoutLeading = 20;

constexpr unsigned kIntraSlice = 2;  // table 7-7

/// Ceil( Log2( count ) )
unsigned bitsFor(unsigned count) { return static_cast<unsigned>(std::bit_width(count - 1)); }

constexpr Judgement kBroken{Verdict::damaged, "a slice header is broken"};
constexpr Judgement kInterSlice{Verdict::unknown, "a slice is not an intra slice"};

/// Whether all slices of a picture of these units are intra slices (7.4.7.1).
bool isIrap(unsigned unitType) { return unitType >= kFirstIrap && unitType <= kLastIrap; }

/// The fields about picture order and reference pictures. False when a set of those is predicted from another one.
bool skipPictureOrder(BitReader& reader, const Sps& sps) {
  reader.skip(sps.pocBits);
  if (!reader.flag()) {
    if (!skipShortTermSet(reader, sps.shortTermSets)) return false;
  } else if (sps.shortTermSets > 1) {
    reader.skip(bitsFor(sps.shortTermSets));
  }
  if (sps.longTermPictures) {
    const unsigned fromSps = sps.longTermCandidates > 0 ? reader.unsignedGolomb(32) : 0;
    const unsigned count = fromSps + reader.unsignedGolomb(32);
    for (unsigned i = 0; i < count; ++i) {
      if (i < fromSps) {
        reader.skip(sps.longTermCandidates > 1 ? bitsFor(sps.longTermCandidates) : 0);
      } else {
        reader.skip(sps.pocBits + 1);
      }
      if (reader.flag()) reader.unsignedGolomb();
    }
  }
  if (sps.temporalMvp) reader.flag();
  return true;
}

void readFilters(BitReader& reader, const Sps& sps, const Pps& pps, SliceHeader& header) {
  header.saoLuma = sps.sao && reader.flag();
  header.saoChroma = sps.sao && sps.chromaArrayType != 0 && reader.flag();
  header.qp = pps.initQp + std::clamp(reader.signedGolomb(), -200, 200);
  if (pps.sliceChromaQpOffsets) {
    reader.signedGolomb();
    reader.signedGolomb();
  }
  bool deblockingDisabled = pps.deblockingDisabled;
  if (pps.deblockingOverride && reader.flag()) {
    deblockingDisabled = reader.flag();
    if (!deblockingDisabled) {
      reader.signedGolomb();
      reader.signedGolomb();
    }
  }
  if (pps.filterAcrossSlices && (header.saoLuma || header.saoChroma || !deblockingDisabled)) reader.flag();
}

void readSubsetSizes(BitReader& reader, unsigned maximum, SliceHeader& header) {
  const unsigned count = reader.unsignedGolomb(maximum);
  const unsigned bits = count > 0 ? reader.unsignedGolomb(31) + 1 : 0;
  for (unsigned i = 0; i < count && !reader.failed(); ++i) {
    const std::uint32_t sizeMinus1 = reader.bits(bits);
    header.subsetSizes.push_back(sizeMinus1 == 0xFFFFFFFFU ? sizeMinus1 : sizeMinus1 + 1);
  }
}

}  // namespace

unsigned parsePpsId(ByteView payload, unsigned unitType) {
  BitReader reader(payload);
  reader.skip(isIrap(unitType) ? 2 : 1);
  const unsigned id = reader.unsignedGolomb(kMaximumPps - 1);
  return reader.failed() ? kMaximumPps : id;
}

Judgement parseSliceHeader(ByteView payload, unsigned unitType, const Sps& sps, const Pps& pps, SliceHeader& header) {
  BitReader reader(payload);
  header.firstInPicture = reader.flag();
  if (isIrap(unitType)) reader.flag();
  header.ppsId = reader.unsignedGolomb(kMaximumPps - 1);
  header.dependent = false;
  header.address = 0;
  header.subsetSizes.clear();
  const unsigned blocks = sps.ctbColumns() * sps.ctbRows();
  if (!header.firstInPicture) {
    header.dependent = pps.dependentSegments && reader.flag();
    header.address = reader.bits(bitsFor(blocks));
    if (header.address == 0 || header.address >= blocks) return kBroken;
  }
  if (!header.dependent) {
    header.sliceAddress = header.address;
    reader.skip(pps.extraHeaderBits);
    const unsigned type = reader.unsignedGolomb(kIntraSlice);
    reader.skip(pps.outputFlag ? 1 : 0);
    if (!reader.failed() && type != kIntraSlice) return isIrap(unitType) ? kBroken : kInterSlice;
    if (unitType != kIdrWithRadl && unitType != kIdrWithoutLeading && !skipPictureOrder(reader, sps)) {
      return {Verdict::unknown, "a set of reference pictures is predicted from another"};
    }
    readFilters(reader, sps, pps, header);
    const int qpBdOffset = 6 * static_cast<int>(sps.bitDepthLuma - 8);
    if (header.qp < -qpBdOffset || header.qp > 51) return kBroken;
  }
  if (pps.tiles || pps.wavefront) readSubsetSizes(reader, blocks, header);
  if (pps.headerExtension) reader.skip(8 * reader.unsignedGolomb(256));
  header.size = reader.byteAlignment();
  return reader.failed() ? kBroken : Judgement{};
}

}  // namespace quellor::hevc
