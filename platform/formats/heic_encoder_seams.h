#pragma once
#include <cstdint>
#include <vector>

#include "platform/formats/heic_encoder_settings.h"

namespace quellor {

/// Where a tile of a grid meets others: nothing is predicted or filtered across, so there it comes out worse than
/// elsewhere, which shows as a line. It is quantized more finely there instead.
///
/// What is added to the quantization parameter of each block of 16 x 16 samples of the tile in that column and row, row
/// by row, as HevcEncoderJob takes it: kSeamOffset for blocks within kSeamWidth of another tile, zero for all others.
/// Empty for the only tile of a grid.
[[nodiscard]] std::vector<float> seamOffsetsFor(const EncodingGrid& grid, std::uint32_t column, std::uint32_t row);

/// A quantization group of the encoder, in samples: what is less wide is averaged with its neighbors.
inline constexpr std::uint32_t kSeamWidth = 32;

/// Makes up for what is lost beside a seam on average; docs/performance.md has the measurement.
inline constexpr float kSeamOffset = -0.75F;

}  // namespace quellor
