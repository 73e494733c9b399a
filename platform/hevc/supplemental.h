#pragma once
#include "platform/hevc/nal.h"

namespace quellor::hevc {

/// Whether `unit` holds supplemental enhancement information (ITU-T H.265, 7.3.5) with a decoded picture hash, or some
/// that cannot be read. May throw std::bad_alloc.
[[nodiscard]] bool mayHoldPictureHash(const NalUnit& unit);

}  // namespace quellor::hevc
