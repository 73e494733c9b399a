#include "platform/hevc/vui.h"

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

}  // namespace

Vui readVui(BitReader& reader, unsigned subLayers) {
  Vui vui;
  constexpr unsigned kExtendedAspectRatio = 255;
  if (reader.flag() && reader.bits(8) == kExtendedAspectRatio) reader.skip(32);
  if (reader.flag()) {  // overscan
    reader.flag();
  }
  if (reader.flag()) {  // video signal type
    reader.skip(4);
    reader.skip(reader.flag() ? 24 : 0);
  }
  if (reader.flag()) {  // chroma location
    vui.chromaLocation = reader.unsignedGolomb();
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
  return vui;
}

}  // namespace quellor::hevc
