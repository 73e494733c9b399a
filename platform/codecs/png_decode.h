#pragma once
#include <optional>

#include "platform/bytes.h"
#include "platform/image.h"

namespace quellor::png {

/// The samples of a PNG file, interleaved; palettes, transparent colours and less than 8 bits expanded. Absent as
/// platform/codecs/codec.h says. Throws std::bad_alloc only.
std::optional<Raster> decodeFile(ByteView file);

}  // namespace quellor::png
