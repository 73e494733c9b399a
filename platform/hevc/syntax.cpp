#include "platform/hevc/syntax.h"

#include <algorithm>
#include <cstdint>

namespace quellor::hevc {
namespace {

void skipSubLayerHrd(BitReader& reader, unsigned buffers, bool subPicture) {
  for (unsigned i = 0; i < buffers; ++i) {
    for (int value = 0; value < (subPicture ? 4 : 2); ++value) reader.unsignedGolomb();
    reader.flag();
  }
}

// E.2.2
void skipHrd(BitReader& reader, unsigned subLayers) {
  const bool nal = reader.flag();
  const bool vcl = reader.flag();
  bool subPicture = false;
  if (nal || vcl) {
    subPicture = reader.flag();
    reader.skip(subPicture ? 19 : 0);
    reader.skip(8);
    reader.skip(subPicture ? 4 : 0);
    reader.skip(15);
  }
  for (unsigned i = 0; i <= subLayers; ++i) {
    const bool fixedGeneral = reader.flag();
    const bool fixedWithin = fixedGeneral || reader.flag();
    bool lowDelay = false;
    if (fixedWithin) {
      reader.unsignedGolomb();
    } else {
      lowDelay = reader.flag();
    }
    const unsigned buffers = lowDelay ? 1 : reader.unsignedGolomb(31) + 1;
    skipSubLayerHrd(reader, nal ? buffers : 0, subPicture);
    skipSubLayerHrd(reader, vcl ? buffers : 0, subPicture);
  }
}

/// A code point of ITU-T H.273, `last` and `another` being the greatest that are known. Decoders take one that is
/// reserved for unspecified.
std::uint16_t readCodePoint(BitReader& reader, unsigned last, unsigned another) {
  constexpr unsigned kUnspecified = 2;
  const unsigned point = reader.bits(8);
  return static_cast<std::uint16_t>(point <= last || point == another ? point : kUnspecified);
}

}  // namespace

unsigned readProfileTierLevel(BitReader& reader, unsigned subLayers) {
  reader.skip(3);
  const unsigned profile = reader.bits(5);
  reader.skip(80 + 8);
  unsigned present[8] = {};
  for (unsigned i = 0; i < subLayers; ++i) present[i] = reader.bits(2);
  if (subLayers > 0) reader.skip(2 * (8 - subLayers));
  for (unsigned i = 0; i < subLayers; ++i) {
    reader.skip(((present[i] & 2U) != 0 ? 88U : 0U) + ((present[i] & 1U) != 0 ? 8U : 0U));
  }
  return profile;
}

void skipScalingLists(BitReader& reader) {
  for (unsigned size = 0; size < 4; ++size) {
    for (unsigned matrix = 0; matrix < 6; matrix += size == 3 ? 3 : 1) {
      if (!reader.flag()) {
        reader.unsignedGolomb(5);
        continue;
      }
      const unsigned coefficients = std::min(64U, 1U << (4 + (size << 1)));
      for (unsigned i = 0; i < coefficients + (size > 1 ? 1 : 0); ++i) reader.signedGolomb();
    }
  }
}

bool skipShortTermSet(BitReader& reader, unsigned index) {
  if (index != 0 && reader.flag()) return false;
  const unsigned negative = reader.unsignedGolomb(16);
  const unsigned positive = reader.unsignedGolomb(16);
  for (unsigned i = 0; i < negative + positive; ++i) {
    reader.unsignedGolomb();
    reader.flag();
  }
  return true;
}

VideoUsability readVideoUsability(BitReader& reader, unsigned subLayers) {
  VideoUsability usability;
  constexpr unsigned kExtendedAspectRatio = 255;  // EXTENDED_SAR, table E.1
  if (reader.flag() && reader.bits(8) == kExtendedAspectRatio) reader.skip(32);
  if (reader.flag()) {  // overscan
    reader.flag();
  }
  if (reader.flag()) {  // video signal type
    reader.skip(3);
    usability.coding.fullRange = reader.flag();
    if (reader.flag()) {
      usability.coding.colorPrimaries = readCodePoint(reader, 12, 22);
      usability.coding.transferCharacteristics = readCodePoint(reader, 18, 18);
      usability.coding.matrixCoefficients = readCodePoint(reader, 14, 14);
    }
  }
  if (reader.flag()) {  // chroma location
    usability.chromaLocation = reader.unsignedGolomb();
    reader.unsignedGolomb();
  }
  reader.skip(3);
  if (reader.flag()) {  // default display window
    for (int side = 0; side < 4; ++side) reader.unsignedGolomb();
  }
  if (reader.flag()) {  // timing
    reader.skip(64);
    if (reader.flag()) reader.unsignedGolomb();
    if (reader.flag()) skipHrd(reader, subLayers);
  }
  if (reader.flag()) {  // restrictions
    reader.skip(3);
    for (int value = 0; value < 5; ++value) reader.unsignedGolomb();
  }
  return usability;
}

}  // namespace quellor::hevc
