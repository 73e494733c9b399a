#pragma once
#include <optional>

#include "platform/bytes.h"
#include "platform/metadata/xmp_engine.h"

namespace quellor {

/// The packet with the edit made; what XmpEngine::edited says. Raises std::bad_alloc.
std::optional<Bytes> editedXmp(ByteView packet, const XmpEdit& edit);

}  // namespace quellor
