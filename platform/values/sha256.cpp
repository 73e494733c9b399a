#include "platform/values/sha256.h"

#include <nettle/sha2.h>

namespace quellor {

std::array<std::uint8_t, 32> sha256(ByteView bytes) {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_ctx context{};
  sha256_init(&context);
  sha256_update(&context, bytes.size(), bytes.data());
  sha256_digest(&context, digest.size(), digest.data());
  return digest;
}

}  // namespace quellor
