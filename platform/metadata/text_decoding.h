#pragma once
#include <string>

#include "platform/values/bytes.h"

namespace quellor::metadata {

/// The text that `bytes` hold, as valid UTF-8 (Unicode 15, table 3-7): well-formed UTF-8 stays as it is, every other
/// byte counts as the ISO 8859-1 character of that number. Cameras and editors write both, and none says which.
std::string decodeText(ByteView bytes);

}  // namespace quellor::metadata
