#pragma once
#include <optional>

#include "platform/values/bytes.h"

namespace quellor {

/// The IPTC-IIM datasets in a run of Photoshop image resources (resource 0x0404; Adobe Photoshop File
/// Formats, Image Resource Blocks). Absent when there are none or the run is broken before them.
std::optional<ByteView> iptcInResources(ByteView resources);

}  // namespace quellor
