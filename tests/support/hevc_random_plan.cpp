#include <algorithm>
#include <array>
#include <random>

#include "tests/support/hevc_picture_writer.h"

namespace quellor::test_support {
namespace {

class PlanChooser {
 public:
  explicit PlanChooser(std::uint32_t seed) : random_(seed) {
    plan_.seed = seed;
    chooseBlocks();
    choosePcm();
    chooseTools();
    chooseSize();
    if (chance(50)) chooseTiles();
    plan_.wavefront = chance(40);
    plan_.unitsPerSlice = chance(40) ? 1 + below(columns_ * rows_) : 0;
    plan_.unitsPerSegment = chance(40) ? 1 + below(columns_ * 2) : 0;
  }

  [[nodiscard]] HevcPlan take() { return std::move(plan_); }

 private:
  unsigned below(unsigned bound) { return static_cast<unsigned>(random_()) % bound; }
  bool chance(unsigned percent) { return below(100) < percent; }

  /// Sizes that 7.4.3.2.1 allows beside each other.
  void chooseBlocks() {
    plan_.content = std::array{HevcContent::pcm, HevcContent::residuals, HevcContent::mixed}[below(3)];
    plan_.chromaFormat = below(4);
    plan_.depth = std::array{8U, 10U, 12U}[below(3)];
    plan_.ctbLog2 = 4 + below(3);
    plan_.minCbLog2 = 3 + below(std::min(3U, plan_.ctbLog2 - 2));
    plan_.maxTbLog2 = std::max(2 + below(4), plan_.minCbLog2 == 3 ? 2U : plan_.ctbLog2 == 6 ? 4U : 3U);
    plan_.maxTbLog2 = std::min({plan_.maxTbLog2, plan_.ctbLog2, 5U});
    plan_.minTbLog2 = 2 + below(std::min(plan_.maxTbLog2, plan_.minCbLog2 - 1) - 1);
    plan_.transformDepth = below(plan_.ctbLog2 - plan_.minTbLog2 + 1);
  }

  void choosePcm() {
    plan_.maxPcmLog2 = plan_.minCbLog2 + below(std::min(plan_.ctbLog2, 5U) - plan_.minCbLog2 + 1);
    plan_.pcmDepthLuma = 1 + below(plan_.depth);
    plan_.pcmDepthChroma = 1 + below(plan_.depth);
    plan_.pcmLoopFilterDisabled = chance(50);
  }

  void chooseTools() {
    for (bool* const tool : {&plan_.sao, &plan_.deblocking, &plan_.transquantBypass, &plan_.transformSkip,
                             &plan_.signHiding, &plan_.cuQpDelta}) {
      *tool = chance(50);
    }
    plan_.cuQpDeltaDepth = plan_.cuQpDelta ? below(plan_.ctbLog2 - plan_.minCbLog2 + 1) : 0;
    plan_.qp = 10 + static_cast<int>(below(35));
  }

  void chooseSize() {
    const unsigned bound = 16U << (plan_.ctbLog2 - 3);
    plan_.width = 2 * (4 + below(bound));
    plan_.height = 2 * (4 + below(bound));
    columns_ = ((plan_.width - 1) >> plan_.ctbLog2) + 1;
    rows_ = ((plan_.height - 1) >> plan_.ctbLog2) + 1;
  }

  void chooseTiles() {
    plan_.tileColumns = 1 + below(std::min(columns_, 3U));
    plan_.tileRows = 1 + below(std::min(rows_, 3U));
    if (chance(50)) return;  // uniform
    plan_.tileWidths = explicitSizes(plan_.tileColumns, columns_);
    plan_.tileHeights = explicitSizes(plan_.tileRows, rows_);
  }

  /// Of all tiles but the last, for which something is left.
  std::vector<unsigned> explicitSizes(unsigned tiles, unsigned blocks) {
    std::vector<unsigned> sizes(tiles - 1, 1);
    unsigned rest = blocks - tiles;
    for (unsigned& size : sizes) {
      const unsigned more = below(rest + 1);
      size += more;
      rest -= more;
    }
    return sizes;
  }

  std::mt19937 random_;
  HevcPlan plan_;
  unsigned columns_ = 0;
  unsigned rows_ = 0;
};

}  // namespace

HevcPlan randomHevcPlan(std::uint32_t seed) { return PlanChooser(seed).take(); }

}  // namespace quellor::test_support
