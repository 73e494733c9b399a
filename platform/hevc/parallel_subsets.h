#pragma once
#include <atomic>
#include <cstddef>
#include <span>
#include <vector>

#include "platform/hevc/subsets.h"

namespace quellor::hevc {

/// Parses the first segment of a picture when an entry point leads to each of the picture's further subsets, so that
/// they can be parsed at the same time. Tiles do not know of one another; a row of a wavefront stays two units behind
/// the one above it, as far as its context variables and the line above reach.
///
/// Finds the same as parsing one subset after another: that which is wrong with the first that is not intact. What is
/// found behind it may only come of it. So once a subset has failed, those behind it end, and those before it go on.
class ParallelSubsets {
 public:
  /// All must outlive this. May throw std::bad_alloc.
  ParallelSubsets(const Sps& sps, const Pps& pps, const CtbLayout& layout);

  /// Whether that segment is such a one, by its entry points.
  [[nodiscard]] bool canEnter(const SliceHeader& header) const;

  struct Result {
    const char* reason = nullptr;  // null, or what is wrong
    std::size_t end = 0;           // the place in the order behind the segment's last unit
    bool exemptsChromaFromOffset = false;
  };

  /// Parses the segment behind `header`, which can be entered at its entry points, with `starts` from subsetStarts().
  /// `last` parses the last subset, and can go on where the segment ends before the picture does; `above` is its line.
  [[nodiscard]] Result parse(const SliceHeader& header, ByteView data, std::span<const std::size_t> starts,
                             CodingTreeParser& last, LineAbove& above, const Spread& spread);

 private:
  struct Subset {
    std::atomic<unsigned> parsed = 0;  // units that the row below need not wait for
    Contexts afterSecondUnit{};
    const char* reason = nullptr;
    bool exemptsChromaFromOffset = false;
  };
  /// Nobody waits for a subset that has ended, be it for want of memory.
  class Ending {
   public:
    explicit Ending(Subset& subset) : subset_(subset) {}
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;
    ~Ending();

   private:
    Subset& subset_;
  };
  struct Segment {
    const SliceHeader& header;
    ByteView data;
    std::span<const std::size_t> starts;  // of all subsets but the first
  };

  void parseSubset(const Segment& segment, std::size_t index, CodingTreeParser& units);
  const char* parseUnits(const Segment& segment, std::size_t index, CodingTreeParser& units);
  const char* parseUnit(const SliceHeader& header, std::size_t index, std::size_t place, CodingTreeParser& units);
  const char* endWhole(const Segment& segment, std::size_t index, std::size_t place, const CodingTreeParser& units);
  void waitForAbove(std::size_t index, unsigned column) const;

  const Sps& sps_;
  const Pps& pps_;
  const CtbLayout& layout_;
  std::vector<std::size_t> places_;  // of the subsets in the order, and the order's end
  std::vector<Subset> subsets_;      // while parse() runs
  std::atomic<std::size_t> firstFailed_;
  std::size_t end_ = 0;
};

}  // namespace quellor::hevc
