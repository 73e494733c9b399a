#pragma once
#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include "tests/support/hevc_arithmetic_encoder.h"
#include "tests/support/hevc_picture_writer.h"

namespace quellor::test_support {

/// The coding tree blocks of a picture (ITU-T H.265, 6.5.1), by raster address but for `order`.
struct HevcBlocks {
  unsigned columns = 0;
  unsigned rows = 0;
  std::vector<unsigned> order;  // raster addresses in the order of coding
  std::vector<unsigned> tile;
  std::vector<unsigned> tileLeft;  // the first column of its tile
  std::vector<int> slice;          // SliceAddrRs; -1 before the block is coded

  /// Whether a block is coded, and in the slice and the tile of another one.
  [[nodiscard]] bool available(unsigned column, unsigned row, unsigned current) const {
    if (column >= columns || row >= rows) return false;
    const unsigned address = row * columns + column;
    return slice[address] == slice[current] && tile[address] == tile[current];
  }
};

/// Writes coding_tree_unit() (7.3.8.2) with random content.
class HevcUnitWriter {
 public:
  /// All must outlive the writer. Samples are put into `written`, whose planes have the coded size.
  HevcUnitWriter(const HevcPlan& plan, const HevcBlocks& blocks, HevcBitWriter& out, HevcArithmeticEncoder& encoder,
                 WrittenHevc& written);

  HevcContexts contexts;

  /// The unit at `address` in a slice that begins at `sliceAddress`.
  void write(unsigned address, unsigned sliceAddress);

 private:
  struct TransformNode {
    unsigned x, y, log2Size, depth, index;
    bool nxn, bypass;
    unsigned cb, cr;  // coded block flags of the parent; bit 1: of the second block that 4:2:2 has
  };

  [[nodiscard]] unsigned below(unsigned bound) { return static_cast<unsigned>(random_()) % bound; }
  [[nodiscard]] bool chance(unsigned percent) { return below(100) < percent; }
  void code(HevcContext& context, bool bin) { encoder_.encode(context, bin); }
  void sao(unsigned sliceAddress);
  void saoComponent(unsigned component, unsigned type);
  void quadtree(unsigned x, unsigned y, unsigned log2Size, unsigned depth);
  unsigned splitContext(unsigned x, unsigned y, unsigned depth) const;
  void codingUnit(unsigned x, unsigned y, unsigned log2Size, unsigned depth);
  void pcmSamples(unsigned x, unsigned y, unsigned log2Size);
  void intraModes(bool nxn);
  void transformTree(TransformNode node);
  unsigned chromaFlags(const TransformNode& node, unsigned parent, bool split);
  void transformUnit(const TransformNode& node);
  void chromaBlocks(const TransformNode& node, unsigned log2Size);
  void qpDelta();
  void residual(unsigned log2Size, bool chroma, bool bypass);

  const HevcPlan& plan_;
  const HevcBlocks& blocks_;
  HevcBitWriter& out_;
  HevcArithmeticEncoder& encoder_;
  WrittenHevc& written_;
  std::mt19937 random_;
  unsigned width_;  // as coded
  unsigned height_;
  unsigned address_ = 0;
  std::vector<unsigned> depths_;  // of the quadtree, by 8 x 8 samples
  bool qpDeltaCoded_ = false;
};

/// As coded: whole smallest coding blocks.
[[nodiscard]] unsigned codedHevcSide(unsigned side, const HevcPlan& plan);

/// Writes residual_coding() (7.3.8.11) in the diagonal scan, `levels` by raster place, not all of them zero.
struct HevcResidual {
  unsigned log2Size = 2;
  bool chroma = false;
  bool bypass = false;      // cu_transquant_bypass_flag
  bool signHiding = false;  // sign_data_hiding_enabled_flag
  std::vector<int> levels;
};
void writeHevcResidual(HevcArithmeticEncoder& encoder, HevcContexts& contexts, const HevcResidual& block);

}  // namespace quellor::test_support
