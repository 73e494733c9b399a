#pragma once
#include <optional>

#include "platform/bytes.h"
#include "platform/image.h"

namespace quellor::heif {

/// The samples of the primary image as they are coded: clean aperture applied, rotation and mirroring not. Absent
/// when anything that the image needs is missing or cannot be decoded without an error.
std::optional<Raster> decodePrimaryImage(ByteView file);

}  // namespace quellor::heif
