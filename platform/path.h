#pragma once
#include <string>

namespace quellor {

/// Whether the operating system can be asked about `path` at all: it would end an embedded NUL's path there and
/// answer for another file.
inline bool isUsablePath(const std::string& path) { return !path.empty() && path.find('\0') == std::string::npos; }

}  // namespace quellor
