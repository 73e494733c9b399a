#pragma once
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include "platform/values/bytes.h"

namespace quellor::heif {

/// The container's structure is broken. Raised and caught by readers of boxes only.
class MalformedContainer : public std::exception {
 public:
  /// `reason` lives as long as the program.
  explicit MalformedContainer(const char* reason) : reason_(reason) {}

  [[nodiscard]] const char* what() const noexcept override { return reason_; }

 private:
  const char* reason_;
};

/// A four-character code (ISO/IEC 14496-12, 4.2).
using FourCC = std::uint32_t;

constexpr FourCC fourCC(const char (&text)[5]) {
  FourCC code = 0;
  for (int i = 0; i < 4; ++i) code = (code << 8) | static_cast<unsigned char>(text[i]);
  return code;
}

/// Reads big-endian fields one after the other; a read past the end raises MalformedContainer and reads nothing.
class ByteReader {
 public:
  explicit ByteReader(ByteView bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t remaining() const { return bytes_.size() - position_; }
  [[nodiscard]] std::size_t position() const { return position_; }
  [[nodiscard]] bool atEnd() const { return remaining() == 0; }

  std::uint8_t u8() { return static_cast<std::uint8_t>(unsignedOf(1)); }
  std::uint16_t u16() { return static_cast<std::uint16_t>(unsignedOf(2)); }
  std::uint32_t u32() { return static_cast<std::uint32_t>(unsignedOf(4)); }
  std::uint64_t u64() { return unsignedOf(8); }

  /// An unsigned number of 0 to 8 bytes; 0 bytes give 0.
  std::uint64_t unsignedOf(std::size_t size) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes(size)) value = (value << 8) | byte;
    return value;
  }

  ByteView bytes(std::size_t size) {
    if (size > remaining()) throw MalformedContainer("a field ends past its box");
    const ByteView view = bytes_.subspan(position_, size);
    position_ += size;
    return view;
  }

  ByteView rest() { return bytes(remaining()); }

  /// Text up to its NUL, which is consumed; the last text of a box may lack it.
  std::string text() {
    std::string value;
    while (!atEnd()) {
      const char character = static_cast<char>(u8());
      if (character == '\0') break;
      value += character;
    }
    return value;
  }

 private:
  ByteView bytes_;
  std::size_t position_ = 0;
};

}  // namespace quellor::heif
