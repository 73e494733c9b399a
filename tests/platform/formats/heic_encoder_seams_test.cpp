// What is quantized more finely so that the seams of a grid do not show, and that the encoder does so.

#include "platform/formats/heic_encoder_seams.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/formats/hevc_modules.h"
#include "platform/values/bytes.h"

namespace quellor {
namespace {

/// A row of text for each row of blocks: '#' where the quantization is finer, '.' where it is as everywhere.
std::vector<std::string> drawn(const EncodingGrid& grid, std::uint32_t column, std::uint32_t row) {
  const std::vector<float> offsets = seamOffsetsFor(grid, column, row);
  const std::size_t across = (grid.tileWidth + 15) / 16;
  EXPECT_EQ(offsets.size() % across, 0U);
  std::vector<std::string> rows;
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    if (i % across == 0) rows.emplace_back();
    EXPECT_TRUE(offsets[i] == 0.0F || offsets[i] == kSeamOffset) << offsets[i];
    rows.back() += offsets[i] < 0.0F ? '#' : '.';
  }
  return rows;
}

TEST(SeamOffsets, AreNoneForAPictureInOnePiece) { EXPECT_TRUE(seamOffsetsFor({1, 1, 4032, 3024}, 0, 0).empty()); }

TEST(SeamOffsets, AreFinerBesideOtherTilesAndNowhereElse) {
  constexpr EncodingGrid kSix{3, 2, 112, 96};
  const struct {
    std::uint32_t column, row;
    std::vector<std::string> blocks;
  } cases[] = {
      {0, 0, {".....##", ".....##", ".....##", ".....##", "#######", "#######"}},
      {1, 0, {"##...##", "##...##", "##...##", "##...##", "#######", "#######"}},
      {2, 0, {"##.....", "##.....", "##.....", "##.....", "#######", "#######"}},
      {0, 1, {"#######", "#######", ".....##", ".....##", ".....##", ".....##"}},
      {1, 1, {"#######", "#######", "##...##", "##...##", "##...##", "##...##"}},
      {2, 1, {"#######", "#######", "##.....", "##.....", "##.....", "##....."}},
  };
  for (const auto& c : cases) EXPECT_EQ(drawn(kSix, c.column, c.row), c.blocks) << c.column << ", " << c.row;
}

TEST(SeamOffsets, AreThereInOneDirectionOnlyForARowOfTiles) {
  EXPECT_EQ(drawn({2, 1, 64, 64}, 0, 0), std::vector<std::string>(4, "..##"));
  EXPECT_EQ(drawn({2, 1, 64, 64}, 1, 0), std::vector<std::string>(4, "##.."));
  EXPECT_EQ(drawn({1, 2, 64, 64}, 0, 1), (std::vector<std::string>{"####", "####", "....", "...."}));
}

bool append(void* receiver, const std::uint8_t* unit, std::size_t size) {
  auto& bytes = *static_cast<Bytes*>(receiver);
  bytes.insert(bytes.end(), unit, unit + size);
  return true;
}

/// The size of a grey picture of noise, whose blocks on the right have that offset.
std::size_t codedSizeWith(float offset) {
  constexpr std::uint32_t kSide = 128, kBlocks = kSide / 16;
  Bytes samples(std::size_t{kSide} * kSide);
  std::uint32_t state = 1;
  for (std::uint8_t& sample : samples) sample = static_cast<std::uint8_t>((state = state * 1664525 + 1013904223) >> 24);
  std::vector<float> offsets(std::size_t{kBlocks} * kBlocks);
  for (std::size_t i = 0; i < offsets.size(); ++i) offsets[i] = i % kBlocks >= kBlocks / 2 ? offset : 0.0F;
  const HevcEncoderOption options[] = {{"crf", "32"}, {"aq-mode", "3"}, {"pools", "none"}, {"frame-threads", "1"}};
  HevcEncoderJob job;
  job.width = job.height = kSide;
  job.grey = true;
  job.planes[0] = samples.data();
  job.strideBytes[0] = kSide;
  job.preset = "fast";
  job.profile = "mainstillpicture";
  job.options = options;
  job.optionCount = std::size(options);
  job.quantizationOffsets = offsets.data();
  Bytes coded;
  EXPECT_TRUE(formats::hevcEncoder().encode(&job, append, &coded));
  return coded.size();
}

TEST(HevcEncoder, SpendsMoreOnBlocksThatAreToBeQuantizedMoreFinely) {
  EXPECT_GT(codedSizeWith(-6.0F), codedSizeWith(0.0F) * 11 / 10);
  EXPECT_LT(codedSizeWith(6.0F), codedSizeWith(0.0F) * 9 / 10);
}

}  // namespace
}  // namespace quellor
