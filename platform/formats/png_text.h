#pragma once
#include <string_view>

#include "platform/values/metadata_blocks.h"

namespace quellor::png {

/// Takes a metadata block out of a text chunk: "XML:com.adobe.xmp", or the hexadecimal "Raw profile type …" that
/// programs wrote before PNG had a place for Exif. A block that `metadata` has already stays.
void readMetadataText(std::string_view keyword, std::string_view text, MetadataBlocks& metadata);

}  // namespace quellor::png
