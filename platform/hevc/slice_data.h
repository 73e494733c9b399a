#pragma once
#include <cstddef>
#include <span>
#include <vector>

#include "platform/hevc/coding_tree.h"

namespace quellor::hevc {

/// The order of a picture's coding tree blocks and the tiles that they lie in (ITU-T H.265, 6.5.1).
struct CtbLayout {
  std::vector<unsigned> order;     // raster addresses in the order of coding
  std::vector<unsigned> tile;      // by raster address
  std::vector<unsigned> tileLeft;  // by raster address: the first column of its tile
};

/// Empty when the tiles do not fit the picture. May throw std::bad_alloc.
[[nodiscard]] CtbLayout layOut(const Sps& sps, const Pps& pps);

class EntryPoints;

/// Parses the slice segments of a picture, one after another, to find out whether the arithmetic code of each ends
/// exactly where its data end, and whether together they cover the picture.
class PictureParser {
 public:
  /// `sps` and `pps` must outlive the parser. May throw std::bad_alloc.
  PictureParser(const Sps& sps, const Pps& pps);

  /// slice_segment_data() of 7.3.8.1. `removed` are the places in `data` before which an emulation prevention byte
  /// stood, ascending. `damaged` when this is not an intact segment that goes on where the last one ended.
  [[nodiscard]] Judgement parse(const SliceHeader& header, ByteView data, std::span<const std::size_t> removed);

  /// Whether all coding tree units have been parsed.
  [[nodiscard]] bool complete() const { return next_ == layout_.order.size(); }

  /// As in Judgement, of the units parsed so far.
  [[nodiscard]] bool exemptsChromaFromOffset() const { return units_.exemptsChromaFromOffset; }

 private:
  [[nodiscard]] bool belongsTogether(unsigned address, unsigned neighbour) const;
  [[nodiscard]] bool startsRow(unsigned address) const;
  [[nodiscard]] bool startsSubset() const;
  void chooseContexts(const SliceHeader& header, unsigned address, bool firstInSegment);
  const char* parseUnit(const SliceHeader& header, bool firstInSegment);
  const char* parseUnits(const SliceHeader& header, ByteView data, EntryPoints& entryPoints);
  const char* startNextSubset(ByteView data, EntryPoints& entryPoints);

  const Sps& sps_;
  const Pps& pps_;
  CtbLayout layout_;
  CodingTreeParser units_;
  Contexts afterSecondUnit_{};  // of the row above, for wavefronts
  Contexts afterSegment_{};
  std::size_t next_ = 0;                // index into the layout's order
  std::vector<unsigned> sliceAddress_;  // by raster address, of the units parsed so far
};

}  // namespace quellor::hevc
