#pragma once
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "platform/hevc/coding_tree.h"
#include "platform/hevc/ctb_layout.h"

/// The subsets of a slice segment's data (ITU-T H.265, 7.3.8.1): what it holds of each tile, or of each row of a
/// wavefront. Each is arithmetic code of its own, which entry points in the slice header find.
namespace quellor::hevc {

inline constexpr const char* kNoLegalStart = "a slice segment has no legal start";
inline constexpr const char* kGoesOnBehindPicture = "a slice segment goes on behind the last coding tree unit";
inline constexpr const char* kWrongEntryPoint = "an entry point is not where a tile or row ends";

inline constexpr std::size_t kNowhere = std::numeric_limits<std::size_t>::max();

/// Where the second subset and those behind it begin in the data of a segment, by the entry points in its header, which
/// count the emulation prevention bytes too; kNowhere where that is at such a byte. `removed` are the places
/// in the data before which one stood, ascending. May throw std::bad_alloc.
[[nodiscard]] std::vector<std::size_t> subsetStarts(const SliceHeader& header, std::span<const std::size_t> removed);

/// Ends a segment behind end_of_slice_segment_flag. Null, or what is wrong with that end.
[[nodiscard]] const char* endSegment(const ArithmeticDecoder& decoder, ByteView data);

/// Ends a subset that others follow. Null, or what is wrong with that end; `next` is where the next one begins.
[[nodiscard]] const char* endSubset(ArithmeticDecoder& decoder, ByteView data, std::size_t& next);

}  // namespace quellor::hevc
