#pragma once
#include "platform/hevc/nal.h"

namespace quellor::hevc {

/// Whether `unit` holds supplemental enhancement information (ITU-T H.265, 7.3.5) that only a decoder can judge: a hash
/// of the decoded samples, or messages that a decoder reads and takes for an error where they are malformed. May throw
/// std::bad_alloc.
[[nodiscard]] bool needsDecoder(const NalUnit& unit);

}  // namespace quellor::hevc
