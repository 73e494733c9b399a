#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/hevc/residual.h"
#include "platform/hevc/slice_header.h"

namespace quellor::hevc {

/// What coding tree units know of those above them. Rows can share it while they are parsed at the same time, if each
/// stays two units behind the one above.
struct LineAbove {
  /// May throw std::bad_alloc.
  explicit LineAbove(const Sps& sps)
      : depth((std::size_t{sps.ctbColumns()} << sps.ctbLog2) >> sps.minCbLog2), chromaOffset(sps.ctbColumns()) {}

  std::vector<std::uint8_t> depth;         // of the quadtree, by column of smallest coding blocks
  std::vector<std::uint8_t> chromaOffset;  // by column of units: whether the chroma has sample adaptive offset
};

/// Parses coding_tree_unit() (ITU-T H.265, 7.3.8.2) of intra slices for the sake of its length alone: nothing is
/// reconstructed, and of the decoding process only that is done which later syntax depends on.
class CodingTreeParser {
 public:
  /// All must outlive the parser.
  CodingTreeParser(const Sps& sps, const Pps& pps, LineAbove& above);

  /// Where the next unit is read from, and what is known of symbol probabilities.
  ArithmeticDecoder decoder;
  Contexts contexts{};

  /// As in Judgement, of the units parsed so far.
  bool exemptsChromaFromOffset = false;

  /// Starts to read at byte `offset` of `data`, which must outlive the parsing. False when
  /// nothing is there that arithmetic code can begin with.
  [[nodiscard]] bool start(ByteView data, std::size_t offset);

  /// Parses the unit at `column` and `row`, in coding tree blocks. The flags say whether the units beside it belong
  /// to the same slice and tile. Null, or what is wrong. Units must come in the order of coding.
  [[nodiscard]] const char* parse(const SliceHeader& slice, unsigned column, unsigned row, bool hasLeft, bool hasAbove);

 private:
  struct CodingUnit {
    unsigned x = 0;
    unsigned y = 0;
    unsigned log2Size = 0;
    bool split = false;  // IntraSplitFlag
    bool bypass = false;
    std::array<unsigned, 4> lumaModes{};    // one for each quarter
    std::array<unsigned, 4> chromaModes{};  //
  };

  /// A node of a coding unit's transform tree. The coded block flags of a chroma component: bit 0 for its block,
  /// bit 1 for the lower block that 4:2:2 has.
  struct TransformNode {
    unsigned log2Size = 0;
    unsigned depth = 0;
    unsigned quarter = 0;   // of the coding unit
    unsigned siblings = 0;  // blkIdx: how many nodes of the same parent came before
    unsigned codedCb = 0;
    unsigned codedCr = 0;
  };

  bool parseUnit(const SliceHeader& slice, unsigned column, unsigned row, bool hasLeft, bool hasAbove);
  void parseSao(const SliceHeader& slice, bool hasLeft, bool hasAbove);
  void parseSaoOffsets(unsigned component, unsigned type);
  bool parseQuadtree(unsigned x, unsigned y, unsigned log2Size, unsigned depth);
  bool splitsCodingUnit(unsigned x, unsigned y, unsigned log2Size, unsigned depth);
  bool parseCodingUnit(unsigned x, unsigned y, unsigned log2Size, unsigned depth);
  bool parsePcmSamples(unsigned log2Size);
  void parseModes(CodingUnit& unit);
  unsigned parseLumaMode(unsigned x, unsigned y, bool predicted);
  unsigned parseChromaMode(unsigned lumaMode);
  bool parseTransformTree(const CodingUnit& unit, TransformNode node);
  unsigned parseChromaFlags(bool parentCoded, bool two, unsigned depth);
  bool parseTransformUnit(const CodingUnit& unit, const TransformNode& node);
  bool parseQpDelta();
  bool parseChromaBlocks(const CodingUnit& unit, unsigned log2Size, unsigned mode, unsigned coded);
  bool parseBlock(const CodingUnit& unit, unsigned log2Size, bool chroma, unsigned mode);
  void storeDepth(unsigned x, unsigned y, unsigned log2Size, unsigned depth);
  void storeLumaMode(unsigned x, unsigned y, unsigned size, unsigned mode);

  const Sps& sps_;
  const Pps& pps_;
  unsigned ctbMask_;
  LineAbove& above_;
  ByteView data_;
  // What the neighbours chose: the quadtree depth by smallest coding block, the luma mode by four samples. Those
  // above a coding tree block count for the depth only (8.4.2).
  std::array<std::uint8_t, 8> depthLeft_{};
  std::array<std::uint8_t, 16> modeAbove_{};
  std::array<std::uint8_t, 16> modeLeft_{};
  bool qpDeltaCoded_ = false;
  unsigned column_ = 0;  // of the unit that is being parsed
};

}  // namespace quellor::hevc
