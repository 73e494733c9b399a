#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/values/bytes.h"

/// Bytes as tests write them down.
namespace quellor::test_support {

/// The characters of `text`, and then `tail`.
inline Bytes bytesOf(std::string_view text, const Bytes& tail = {}) {
  Bytes bytes(text.begin(), text.end());
  bytes.insert(bytes.end(), tail.begin(), tail.end());
  return bytes;
}

/// The file with another byte at `offset`, which it must have.
inline Bytes with(Bytes file, std::size_t offset, std::uint8_t value) {
  file.at(offset) = value;
  return file;
}

}  // namespace quellor::test_support
