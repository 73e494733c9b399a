#include "tests/support/hevc_parameter_set_writer.h"

#include "tests/support/hevc_bit_writer.h"
#include "tests/support/hevc_unit_writer.h"

namespace quellor::test_support {
namespace {

constexpr unsigned kMonochrome = 0, k420 = 1, k444 = 3;
constexpr unsigned kVpsUnit = 32, kSpsUnit = 33, kPpsUnit = 34;  // ITU-T H.265, table 7-1

// 7.3.3; format range extensions (A.3.5) where the main profiles do not do.
void profileTierLevel(HevcBitWriter& out, const HevcPlan& plan) {
  const unsigned profile = plan.chromaFormat != k420 || plan.depth > 10 ? 4 : plan.depth > 8 ? 2 : 1;
  out.bits(3, 0).bits(5, profile).bits(32, 0x80000000U >> profile).bits(4, 0b1001).bits(44, 0).bits(8, 120);
}

// 7.3.2.1
Bytes videoParameterSet(const HevcPlan& plan) {
  HevcBitWriter out;
  out.bits(4, 0).bits(2, 3).bits(6, 0).bits(3, 0).bits(1, 1).bits(16, 0xFFFF);
  profileTierLevel(out, plan);
  out.flag(true).golomb(0).golomb(0).golomb(0);  // buffering
  out.bits(6, 0).golomb(0).flag(false).flag(false).align();
  return nalUnit(kVpsUnit, out.bytes());
}

// 7.3.2.2
Bytes sequenceParameterSet(const HevcPlan& plan) {
  HevcBitWriter out;
  out.bits(4, 0).bits(3, 0).bits(1, 1);
  profileTierLevel(out, plan);
  out.golomb(0).golomb(plan.chromaFormat);
  if (plan.chromaFormat == k444) out.flag(false);
  const unsigned width = codedHevcSide(plan.width, plan), height = codedHevcSide(plan.height, plan);
  const unsigned across = plan.chromaFormat == kMonochrome || plan.chromaFormat == k444 ? 1 : 2;
  const unsigned down = plan.chromaFormat == k420 ? 2 : 1;
  out.golomb(width).golomb(height).flag(true);
  out.golomb(0).golomb((width - plan.width) / across).golomb(0).golomb((height - plan.height) / down);
  out.golomb(plan.depth - 8).golomb(hevcDepth(plan, 1) - 8).golomb(0);
  out.flag(true).golomb(0).golomb(0).golomb(0);  // buffering
  out.golomb(plan.minCbLog2 - 3).golomb(plan.ctbLog2 - plan.minCbLog2);
  out.golomb(plan.minTbLog2 - 2).golomb(plan.maxTbLog2 - plan.minTbLog2).golomb(0).golomb(plan.transformDepth);
  out.flag(false).flag(false).flag(plan.sao);
  const bool pcm = plan.content != HevcContent::residuals;
  out.flag(pcm);
  if (pcm) {
    out.bits(4, plan.pcmDepthLuma - 1).bits(4, plan.pcmDepthChroma - 1);
    out.golomb(plan.minCbLog2 - 3).golomb(plan.maxPcmLog2 - plan.minCbLog2).flag(plan.pcmLoopFilterDisabled);
  }
  out.golomb(0).bits(4, 0);  // no reference pictures, motion vectors, strong smoothing, VUI
  out.flag(plan.rangeExtension != 0);
  if (plan.rangeExtension != 0) out.bits(8, 0x80).bits(9, plan.rangeExtension);
  out.align();
  return nalUnit(kSpsUnit, out.bytes());
}

// 7.3.2.3
Bytes pictureParameterSet(const HevcPlan& plan) {
  HevcBitWriter out;
  out.golomb(0).golomb(0).flag(plan.unitsPerSegment > 0).flag(false).bits(3, 0).flag(plan.signHiding).flag(false);
  out.golomb(0)
      .golomb(0)
      .signedGolomb(plan.qp - 26)
      .flag(plan.constrainedIntra)
      .flag(plan.transformSkip)
      .flag(plan.cuQpDelta);
  if (plan.cuQpDelta) out.golomb(plan.cuQpDeltaDepth);
  out.signedGolomb(0).signedGolomb(0).bits(3, 0);
  out.flag(plan.transquantBypass).flag(hasHevcTiles(plan)).flag(plan.wavefront);
  if (hasHevcTiles(plan)) {
    const bool uniform = plan.tileWidths.empty() && plan.tileHeights.empty();
    out.golomb(plan.tileColumns - 1).golomb(plan.tileRows - 1).flag(uniform);
    if (!uniform) {
      for (const unsigned width : plan.tileWidths) out.golomb(width - 1);
      for (const unsigned height : plan.tileHeights) out.golomb(height - 1);
    }
    out.flag(true);
  }
  out.flag(true).flag(!plan.deblocking);
  if (!plan.deblocking) out.flag(false).flag(true);
  out.flag(false).flag(false).golomb(0).flag(false).flag(false).align();
  return nalUnit(kPpsUnit, out.bytes());
}

}  // namespace

std::vector<Bytes> writeHevcParameterSets(const HevcPlan& plan) {
  return {videoParameterSet(plan), sequenceParameterSet(plan), pictureParameterSet(plan)};
}

}  // namespace quellor::test_support
