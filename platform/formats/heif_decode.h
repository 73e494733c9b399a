#pragma once
#include <optional>

#include "platform/bytes.h"
#include "platform/image.h"

namespace quellor::heif {

/// The primary image's samples; absent as platform/codecs/codec.h says. Throws std::bad_alloc.
std::optional<Raster> decodePrimaryImage(ByteView file);

}  // namespace quellor::heif
