#pragma once
#include <optional>

#include "platform/codecs/codec.h"

namespace quellor::heif {

/// What a HEIF file says of its primary image. Absent when the container's structure is broken.
std::optional<EncodedFacts> factsOf(ByteView file);

}  // namespace quellor::heif
