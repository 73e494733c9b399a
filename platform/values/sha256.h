#pragma once
#include <array>
#include <cstdint>

#include "platform/values/bytes.h"

namespace quellor {

/// The SHA-256 digest (FIPS 180-4) of `bytes`.
std::array<std::uint8_t, 32> sha256(ByteView bytes);

}  // namespace quellor
