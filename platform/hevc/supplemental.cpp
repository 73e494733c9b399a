#include "platform/hevc/supplemental.h"

#include <optional>

namespace quellor::hevc {
namespace {

// payloadType (D.2.1). The second is that of an early draft, in which some decoders still look for it.
constexpr std::size_t kPictureHash = 132;
constexpr std::size_t kDraftPictureHash = 256;

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

bool mayHoldPictureHash(const NalUnit& unit) {
  if (unit.type != kPrefixSeiUnit && unit.type != kSuffixSeiUnit) return false;
  const RawPayload raw = removeEmulationPrevention(unit.payload);
  ByteView rest(raw.bytes);
  while (!rest.empty() && rest.back() == 0) rest = rest.first(rest.size() - 1);
  do {
    const auto type = takeNumber(rest);
    const auto size = takeNumber(rest);
    if (!type || !size || *size >= rest.size()) return true;  // rbsp_trailing_bits() takes a byte, too
    if (*type == kPictureHash || *type == kDraftPictureHash) return true;
    rest = rest.subspan(*size);
  } while (rest.size() > 1);
  constexpr std::uint8_t kTrailingBits = 0x80;
  return rest.front() != kTrailingBits;
}

}  // namespace quellor::hevc
