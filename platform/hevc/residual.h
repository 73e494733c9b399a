#pragma once
#include <cstdint>

#include "platform/hevc/cabac.h"

namespace quellor::hevc {

enum class Scan : std::uint8_t { diagonal = 0, horizontal = 1, vertical = 2 };

struct ResidualBlock {
  unsigned log2Size = 2;  // 2 to 5
  bool chroma = false;
  Scan scan = Scan::diagonal;
  bool transformSkipFlag = false;  // whether transform_skip_flag is coded
  bool signHiding = false;         // sign_data_hiding_enabled_flag, and cu_transquant_bypass_flag off
};

/// Parses residual_coding() (ITU-T H.265, 7.3.8.11). False when a level is out of the range that 7.4.9.11 allows.
[[nodiscard]] bool parseResidual(ArithmeticDecoder& decoder, Contexts& contexts, const ResidualBlock& block);

}  // namespace quellor::hevc
