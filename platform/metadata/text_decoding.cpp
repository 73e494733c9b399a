#include "platform/metadata/text_decoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace quellor::metadata {

namespace {

bool between(std::uint8_t byte, std::uint8_t low, std::uint8_t high) { return low <= byte && byte <= high; }

/// What the byte after a lead byte may be: the lead bytes E0, ED, F0 and F4 narrow it, which keeps out overlong
/// forms, surrogates and numbers above U+10FFFF.
bool isSecondByte(std::uint8_t lead, std::uint8_t second) {
  switch (lead) {
    case 0xE0:
      return between(second, 0xA0, 0xBF);
    case 0xED:
      return between(second, 0x80, 0x9F);
    case 0xF0:
      return between(second, 0x90, 0xBF);
    case 0xF4:
      return between(second, 0x80, 0x8F);
    default:
      return between(second, 0x80, 0xBF);
  }
}

/// Length of the well-formed sequence that `bytes`, not empty, begin with; 0 when there is none.
std::size_t sequenceLength(ByteView bytes) {
  const std::uint8_t lead = bytes[0];
  if (lead < 0x80) return 1;
  const std::size_t length = between(lead, 0xC2, 0xDF)   ? 2
                             : between(lead, 0xE0, 0xEF) ? 3
                             : between(lead, 0xF0, 0xF4) ? 4
                                                         : 0;
  if (length == 0 || bytes.size() < length || !isSecondByte(lead, bytes[1])) return 0;
  const auto tail = bytes.subspan(2, length - 2);
  return std::all_of(tail.begin(), tail.end(), [](std::uint8_t byte) { return between(byte, 0x80, 0xBF); }) ? length
                                                                                                            : 0;
}

}  // namespace

std::string decodeText(ByteView bytes) {
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = sequenceLength(bytes);
    if (length == 0) {
      text.push_back(static_cast<char>(0xC0 | bytes[0] >> 6));
      text.push_back(static_cast<char>(0x80 | (bytes[0] & 0x3F)));
      bytes = bytes.subspan(1);
      continue;
    }
    text.append(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    bytes = bytes.subspan(length);
  }
  return text;
}

}  // namespace quellor::metadata
