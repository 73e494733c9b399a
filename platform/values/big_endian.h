#pragma once
#include <algorithm>
#include <cstdint>
#include <string_view>

#include "platform/values/bytes.h"

namespace quellor {

/// Two bytes, the more significant one first. `offset` + 2 is at most the size of `bytes`.
inline std::uint32_t bigEndian16(ByteView bytes, std::size_t offset) {
  return std::uint32_t{bytes[offset]} << 8 | bytes[offset + 1];
}

/// Four bytes, the most significant one first. `offset` + 4 is at most the size of `bytes`.
inline std::uint32_t bigEndian32(ByteView bytes, std::size_t offset) {
  return bigEndian16(bytes, offset) << 16 | bigEndian16(bytes, offset + 2);
}

inline bool startsWith(ByteView bytes, std::string_view prefix) {
  return bytes.size() >= prefix.size() &&
         std::equal(prefix.begin(), prefix.end(), bytes.begin(),
                    [](char a, std::uint8_t b) { return static_cast<std::uint8_t>(a) == b; });
}

inline Bytes copyOf(ByteView bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace quellor
