#include "platform/files/uuid.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <sys/random.h>
#include <sys/types.h>

namespace quellor {
namespace {

std::array<std::uint8_t, 16> randomBytes() {
  std::array<std::uint8_t, 16> bytes{};
  for (;;) {
    // So few bytes come all at once, unless a signal interrupts the wait for the generator at boot.
    const ssize_t got = getrandom(bytes.data(), bytes.size(), 0);
    if (got == static_cast<ssize_t>(bytes.size())) return bytes;
    if (got < 0 && errno != EINTR) std::abort();
  }
}

}  // namespace

std::string randomUuid() {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  auto bytes = randomBytes();
  // RFC 9562, 4.1 and 4.2: the variant, then the version.
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

}  // namespace quellor
