#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "platform/values/bytes.h"

/// Writes small HEVC intra pictures from the syntax tables of ITU-T H.265, so that tests can have what the packaged
/// encoders do not make: tiles, PCM, dependent slice segments and all combinations of them. Shares nothing with the
/// parser of platform/hevc.
namespace quellor::test_support {

enum class HevcContent : std::uint8_t {
  pcm,        // every coding unit holds its samples
  residuals,  // DC prediction with random coefficients
  mixed,      // both, at random
};

/// What a picture is made of. Names and units are those of the standard's syntax elements unless said otherwise.
struct HevcPlan {
  unsigned width = 64;  // of the conformance window, which begins at the first sample; whole chroma samples
  unsigned height = 64;
  unsigned chromaFormat = 1;
  unsigned depth = 8;
  unsigned depthChroma = 0;  // 0: that of luma
  unsigned minCbLog2 = 3;
  unsigned ctbLog2 = 4;
  unsigned minTbLog2 = 2;
  unsigned maxTbLog2 = 4;  // at most that of a coding tree block, and 5
  unsigned transformDepth = 1;
  HevcContent content = HevcContent::mixed;
  unsigned pcmDepthLuma = 8;  // at most `depth`
  unsigned pcmDepthChroma = 8;
  unsigned maxPcmLog2 = 4;  // at most that of a coding tree block, and 5
  bool pcmLoopFilterDisabled = true;
  bool sao = false;
  bool deblocking = true;
  bool transquantBypass = false;
  bool transformSkip = false;
  bool signHiding = false;
  bool constrainedIntra = false;
  bool cuQpDelta = false;
  unsigned cuQpDeltaDepth = 0;
  int qp = 30;
  unsigned tileColumns = 1;
  unsigned tileRows = 1;
  std::vector<unsigned> tileWidths = {};  // in coding tree blocks, of all columns but the last; empty: uniform
  std::vector<unsigned> tileHeights = {};
  bool wavefront = false;
  unsigned unitsPerSlice = 0;  // coding tree units, fewer where the standard asks for an end; 0: as many as there are
  unsigned unitsPerSegment = 0;
  std::uint32_t seed = 1;
  // What makes a picture wrong, or too new.
  unsigned rangeExtension = 0;   // the nine flags of sps_range_extension(); what they allow is not used
  unsigned entryPointError = 0;  // by how much too large entry points are
};

/// A picture and what it decodes to.
struct WrittenHevc {
  std::vector<Bytes> parameterSets;  // video, sequence, picture; NAL units, headers included
  std::vector<Bytes> segments;       // NAL units of the slice segments
  std::vector<std::size_t> headers;  // of each segment: bytes of the unit that its slice segment header ends before
  /// Y, Cb and Cr of the conformance window, row after row; of PCM samples only, so for other content without meaning.
  std::array<std::vector<int>, 3> samples;

  /// All units, each behind its length in four bytes.
  [[nodiscard]] Bytes behindLengths() const;
};

/// Of the samples of a plane.
[[nodiscard]] inline unsigned hevcDepth(const HevcPlan& plan, unsigned component) {
  return component == 0 || plan.depthChroma == 0 ? plan.depth : plan.depthChroma;
}

[[nodiscard]] WrittenHevc writeHevc(const HevcPlan& plan);

/// The seed chooses everything that a picture can have.
[[nodiscard]] HevcPlan randomHevcPlan(std::uint32_t seed);

}  // namespace quellor::test_support
