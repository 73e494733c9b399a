#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quellor {

/// Owned bytes of a file or of a part of one.
using Bytes = std::vector<std::uint8_t>;

/// Bytes that somebody else owns and that outlive the view.
using ByteView = std::span<const std::uint8_t>;

}  // namespace quellor
