#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/hevc/parameter_sets.h"
#include "platform/hevc/verify.h"

namespace quellor::hevc {

/// slice_segment_header() (ITU-T H.265, 7.3.6.1) of an intra slice. A dependent segment has only the members up to
/// `address` and the last two of its own; it goes on with the rest of the segment before it.
struct SliceHeader {
  unsigned ppsId = 0;
  bool firstInPicture = false;
  bool dependent = false;
  unsigned address = 0;       // of the segment's first coding tree block, in raster order
  unsigned sliceAddress = 0;  // of the slice's first coding tree block
  bool saoLuma = false;
  bool saoChroma = false;
  int qp = 26;
  std::vector<std::uint32_t> subsetSizes;  // of all subsets but the last, in bytes with emulation prevention
  std::size_t size = 0;                    // of this header, in bytes without emulation prevention
};

/// Which picture parameter set the header in `payload` names. kMaximumPps when it cannot be read.
[[nodiscard]] unsigned parsePpsId(ByteView payload, unsigned unitType);

/// `payload` is the unit behind its two-byte header, without emulation prevention. `header` holds the segment before
/// it on entry when there is one. `damaged` when the header breaks the standard's rules, `unknown` when it holds
/// something that is not followed here. May throw std::bad_alloc.
[[nodiscard]] Judgement parseSliceHeader(ByteView payload, unsigned unitType, const Sps& sps, const Pps& pps,
                                         SliceHeader& header);

}  // namespace quellor::hevc
