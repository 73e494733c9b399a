#pragma once
#include <string>

#include "platform/values/bytes.h"

namespace quellor {

/// The text of the packet's first property of that local name, in whichever namespace and form (attribute or element)
/// it stands, or empty when the packet has none or is no XML.
std::string xmpTextOf(ByteView packet, const std::string& localName);

}  // namespace quellor
