#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/hevc/syntax.h"
#include "platform/values/bytes.h"

/// What of HEVC's parameter sets (ITU-T H.265, 7.3.2) decides how slices are parsed and how large they are.
namespace quellor::hevc {

// chroma_format_idc (table 6-1)
inline constexpr unsigned kMonochrome = 0;
inline constexpr unsigned k420 = 1;
inline constexpr unsigned k422 = 2;
inline constexpr unsigned k444 = 3;

struct Sps {
  unsigned vpsId = 0;
  /// The first coding tool that the set allows and the parser of slices does not follow, in words that live as long as
  /// the program; null when it follows all of them. What is not followed: tools of the range and screen content
  /// extensions that change how an intra slice is parsed, separate color planes, predicted sets of reference pictures.
  const char* notFollowed = nullptr;
  unsigned chromaArrayType = k420;
  unsigned width = 0;  // in luma samples, a multiple of the smallest coding block
  unsigned height = 0;
  unsigned shownWidth = 0;  // of the conformance window; 0 where that leaves nothing
  unsigned shownHeight = 0;
  VideoUsability usability;
  unsigned bitDepthLuma = 8;
  unsigned bitDepthChroma = 8;
  unsigned pocBits = 4;
  unsigned minCbLog2 = 3;
  unsigned ctbLog2 = 4;
  unsigned minTbLog2 = 2;
  unsigned maxTbLog2 = 5;
  unsigned maxIntraTransformDepth = 0;
  bool sao = false;
  bool pcm = false;
  unsigned pcmDepthLuma = 8;
  unsigned pcmDepthChroma = 8;
  unsigned minPcmLog2 = 3;
  unsigned maxPcmLog2 = 5;
  bool pcmLoopFilterDisabled = false;
  unsigned shortTermSets = 0;
  bool longTermPictures = false;
  unsigned longTermCandidates = 0;
  bool temporalMvp = false;

  [[nodiscard]] unsigned ctbColumns() const { return ((width - 1) >> ctbLog2) + 1; }
  [[nodiscard]] unsigned ctbRows() const { return ((height - 1) >> ctbLog2) + 1; }
};

struct Pps {
  const char* notFollowed = nullptr;  // as in Sps
  unsigned spsId = 0;
  bool dependentSegments = false;
  bool outputFlag = false;
  unsigned extraHeaderBits = 0;
  bool signHiding = false;
  int initQp = 26;
  bool constrainedIntra = false;
  bool transformSkip = false;
  bool cuQpDelta = false;
  unsigned cuQpDeltaDepth = 0;
  bool sliceChromaQpOffsets = false;
  bool transquantBypass = false;
  bool tiles = false;
  bool wavefront = false;
  unsigned tileColumns = 1;
  unsigned tileRows = 1;
  bool uniformTiles = true;
  std::vector<unsigned> tileWidths;   // in coding tree blocks, all but the last; empty when uniform
  std::vector<unsigned> tileHeights;  //
  bool filterAcrossSlices = false;
  bool deblockingOverride = false;
  bool deblockingDisabled = false;
  bool headerExtension = false;
};

/// `payload` is the unit behind its two-byte header, without emulation prevention; `id` receives the set's number.
/// Absent when the set breaks the standard's rules or ends too early. May throw std::bad_alloc.
[[nodiscard]] std::optional<Sps> parseSps(ByteView payload, unsigned& id);
[[nodiscard]] std::optional<Pps> parsePps(ByteView payload, unsigned& id);

/// The number of a video parameter set. What such a set says has no bearing on an intra picture, but decoders refuse a
/// picture without one that is in order. Absent, too, where it has hypothetical decoder parameters, which are not read.
[[nodiscard]] std::optional<unsigned> parseVps(ByteView payload);

inline constexpr unsigned kMaximumVps = 16;  // 7.4.3.1
inline constexpr unsigned kMaximumSps = 16;  // 7.4.3.2.1
inline constexpr unsigned kMaximumPps = 64;  // 7.4.3.3.1

}  // namespace quellor::hevc
