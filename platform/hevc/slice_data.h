#pragma once
#include <cstddef>
#include <span>
#include <vector>

#include "platform/hevc/coding_tree.h"
#include "platform/hevc/ctb_layout.h"

namespace quellor::hevc {

class ParallelSubsets;

/// Parses the slice segments of a picture, one after another, to find out whether the arithmetic code of each ends
/// exactly where its data end, and whether together they cover the picture.
class PictureParser {
 public:
  /// `sps`, `pps` and `spread` must outlive the parser. May throw std::bad_alloc.
  PictureParser(const Sps& sps, const Pps& pps, const Spread& spread);

  /// slice_segment_data() of 7.3.8.1. `removed` are the places in `data` before which an emulation prevention byte
  /// stood, ascending. `damaged` when this is not an intact segment that goes on where the last one ended. May throw
  /// std::bad_alloc, and what the spread throws.
  [[nodiscard]] Judgement parse(const SliceHeader& header, ByteView data, std::span<const std::size_t> removed);

  /// Whether all coding tree units have been parsed.
  [[nodiscard]] bool complete() const { return next_ == layout_.order.size(); }

  /// As in Judgement, of the units parsed so far.
  [[nodiscard]] bool exemptsChromaFromOffset() const { return units_.exemptsChromaFromOffset; }

 private:
  [[nodiscard]] bool belongsTogether(unsigned address, unsigned neighbour) const;
  void chooseContexts(const SliceHeader& header, unsigned address, bool firstInSegment);
  const char* parseUnit(const SliceHeader& header, bool firstInSegment);
  const char* parseSegment(const SliceHeader& header, ByteView data, std::span<const std::size_t> removed);
  const char* parseAtOnce(ParallelSubsets& subsets, const SliceHeader& header, ByteView data,
                          std::span<const std::size_t> starts);
  const char* parseUnits(const SliceHeader& header, ByteView data, std::span<const std::size_t> starts);
  const char* startNextSubset(ByteView data, std::span<const std::size_t> starts, std::size_t index);

  const Sps& sps_;
  const Pps& pps_;
  const Spread& spread_;
  CtbLayout layout_;
  LineAbove above_;
  CodingTreeParser units_;
  Contexts afterSecondUnit_{};  // of the row above, for wavefronts
  Contexts afterSegment_{};
  std::size_t next_ = 0;                // index into the layout's order
  std::vector<unsigned> sliceAddress_;  // by raster address, of the units parsed so far
};

}  // namespace quellor::hevc
