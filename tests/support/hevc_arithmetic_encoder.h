#pragma once
#include <array>
#include <cstdint>

#include "tests/support/hevc_bit_writer.h"

namespace quellor::test_support {

/// A context variable (ITU-T H.265, 9.3.2.2).
struct HevcContext {
  unsigned state = 0;  // pStateIdx
  bool mps = false;    // valMps
};

/// The context variables of an intra slice.
struct HevcContexts {
  template <std::size_t n>
  using Some = std::array<HevcContext, n>;

  Some<1> saoMerge, saoType, transquantBypass, partMode, previousMode, chromaMode;
  Some<3> splitCodingUnit, splitTransform;
  Some<2> codedLuma, qpDelta, transformSkip;
  Some<5> codedChroma;
  Some<18> lastX, lastY;
  Some<4> codedSubBlock;
  Some<42> significant;
  Some<24> greater1;
  Some<6> greater2;
};

/// All of them at the start of an intra slice with this SliceQpY.
[[nodiscard]] HevcContexts initialHevcContexts(int qp);

/// The arithmetic encoder of ITU-T H.265, 9.3.4.6 to 9.3.4.10, as the standard describes it: bit by bit.
class HevcArithmeticEncoder {
 public:
  /// `out` must outlive the encoder.
  explicit HevcArithmeticEncoder(HevcBitWriter& out) : out_(out) {}

  /// Begins a new code at the writer's place.
  void start();

  void encode(HevcContext& context, bool bin);
  void bypass(bool bin);
  void bypass(unsigned count, unsigned bins);

  /// pcm_flag, end_of_slice_segment_flag, end_of_subset_one_bit. A one ends the code; the last bit that it writes is
  /// the one of the alignment that follows, its zeros included.
  void terminate(bool bin);

 private:
  void renormalise();
  void put(bool bit);

  HevcBitWriter& out_;
  unsigned low_ = 0;
  unsigned range_ = 510;
  unsigned outstanding_ = 0;
  bool first_ = true;
};

}  // namespace quellor::test_support
