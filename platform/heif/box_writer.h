#pragma once
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "platform/heif/byte_reader.h"
#include "platform/values/bytes.h"

namespace quellor::heif {

/// A value does not fit the field that the format has for it. Raised and caught inside this folder only.
class UnwritableContainer : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Writes big-endian fields one after the other, and boxes around them (ISO/IEC 14496-12, 4.2).
class BoxWriter {
 public:
  BoxWriter& u8(std::uint64_t value) { return unsignedOf(value, 1); }
  BoxWriter& u16(std::uint64_t value) { return unsignedOf(value, 2); }
  BoxWriter& u32(std::uint64_t value) { return unsignedOf(value, 4); }
  BoxWriter& u64(std::uint64_t value) { return unsignedOf(value, 8); }

  /// `value` in 1 to 8 bytes; raises UnwritableContainer when it needs more.
  BoxWriter& unsignedOf(std::uint64_t value, std::size_t size) {
    if (size < sizeof value && value >> (8 * size) != 0) throw UnwritableContainer("a number beyond its field");
    for (std::size_t i = size; i-- > 0;) bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return *this;
  }

  /// Text and its NUL, which must be the only one.
  BoxWriter& text(std::string_view value) {
    if (value.find('\0') != std::string_view::npos) throw UnwritableContainer("text with a NUL inside");
    bytes_.insert(bytes_.end(), value.begin(), value.end());
    return u8(0);
  }

  BoxWriter& append(ByteView bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }

  /// A box whose payload is what `fill()` writes to this writer.
  template <typename Fill>
  BoxWriter& box(FourCC type, Fill fill) {
    const std::size_t start = bytes_.size();
    u32(0).u32(type);
    fill();
    const std::size_t size = bytes_.size() - start;
    if (size > UINT32_MAX) throw UnwritableContainer("a box of more than 4 GB");
    for (std::size_t i = 0; i < 4; ++i) bytes_[start + i] = static_cast<std::uint8_t>(size >> (24 - 8 * i));
    return *this;
  }

  /// The same with version and flags in front of the payload.
  template <typename Fill>
  BoxWriter& fullBox(FourCC type, std::uint8_t version, std::uint32_t flags, Fill fill) {
    return box(type, [&] {
      u8(version).unsignedOf(flags, 3);
      fill();
    });
  }

  Bytes take() { return std::move(bytes_); }

 private:
  Bytes bytes_;
};

}  // namespace quellor::heif
