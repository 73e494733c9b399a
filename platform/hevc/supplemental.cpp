#include "platform/hevc/supplemental.h"

#include <optional>

namespace quellor::hevc {
namespace {

/// Whether no decoder can stop over a message: user data behind an identifier of 16 bytes, which nobody looks into.
/// Others are read by some, which take one that is malformed for an error; and a hash of the samples (132) is compared.
bool isHarmless(std::size_t type, std::size_t size) {
  constexpr std::size_t kUnregisteredUserData = 5;  // payloadType (D.2.1)
  return type == kUnregisteredUserData && size >= 16;
}

/// payloadType or payloadSize: bytes of 255 and a last one, which all add up. Takes them off `bytes`; absent where
/// these end before.
std::optional<std::size_t> takeNumber(ByteView& bytes) {
  std::size_t number = 0;
  while (!bytes.empty()) {
    const std::uint8_t byte = bytes.front();
    bytes = bytes.subspan(1);
    number += byte;
    if (byte != 255) return number;
  }
  return std::nullopt;
}

}  // namespace

bool needsDecoder(const NalUnit& unit) {
  if (unit.type != kPrefixSeiUnit && unit.type != kSuffixSeiUnit) return false;
  const RawPayload raw = removeEmulationPrevention(unit.payload);
  ByteView rest(raw.bytes);
  while (!rest.empty() && rest.back() == 0) rest = rest.first(rest.size() - 1);
  do {
    const auto type = takeNumber(rest);
    const auto size = takeNumber(rest);
    if (!type || !size || *size >= rest.size()) return true;  // rbsp_trailing_bits() takes a byte, too
    if (!isHarmless(*type, *size)) return true;
    rest = rest.subspan(*size);
  } while (rest.size() > 1);
  constexpr std::uint8_t kTrailingBits = 0x80;
  return rest.front() != kTrailingBits;
}

}  // namespace quellor::hevc
