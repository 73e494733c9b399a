#pragma once
#include <string>

namespace quellor {

/// A fresh random UUID (RFC 9562, version 4) as text: 32 uppercase hexadecimal digits in groups of 8-4-4-4-12.
///
/// From the kernel's generator directly: one more library to load would cost every run 50 microseconds.
std::string randomUuid();

}  // namespace quellor
