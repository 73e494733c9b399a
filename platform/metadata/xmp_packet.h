#pragma once
#include <string>

#include "platform/bytes.h"

namespace quellor {

/// The value of the packet's AuxiliaryImageType, in whichever namespace and form (attribute or element) it stands, or
/// empty when the packet has none or is no XML.
std::string xmpAuxiliaryImageType(ByteView packet);

}  // namespace quellor
