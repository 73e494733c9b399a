#pragma once
#include <string>
#include <string_view>

#include "platform/properties.h"

namespace quellor::png {

/// Whether a text chunk's keyword is one that the format registers (PNG, third edition, 11.3.3.1), like "Author".
bool isRegisteredKeyword(std::string_view keyword);

/// ISO 8859-1, the coding of tEXt and zTXt chunks, as UTF-8.
std::string utf8FromLatin1(std::string_view text);

bool isUtf8(std::string_view text);

/// Takes a metadata block out of a text chunk: "XML:com.adobe.xmp", or the hexadecimal "Raw profile type …" that
/// programs wrote before PNG had a place for Exif. A block that `metadata` has already stays.
void readMetadataText(std::string_view keyword, std::string_view text, MetadataBlocks& metadata);

}  // namespace quellor::png
