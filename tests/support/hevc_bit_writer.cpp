#include "tests/support/hevc_bit_writer.h"

#include <array>

namespace quellor::test_support {

Bytes withEmulationPrevention(ByteView raw) {
  Bytes bytes;
  std::size_t zeros = 0;
  for (const std::uint8_t byte : raw) {
    if (zeros >= 2 && byte <= 3) {
      bytes.push_back(3);
      zeros = 0;
    }
    bytes.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return bytes;
}

Bytes nalUnit(unsigned type, ByteView raw) {
  const std::array<std::uint8_t, 2> header = {static_cast<std::uint8_t>(type << 1), 1};
  Bytes unit = withEmulationPrevention(raw);
  unit.insert(unit.begin(), header.begin(), header.end());
  return unit;
}

}  // namespace quellor::test_support
