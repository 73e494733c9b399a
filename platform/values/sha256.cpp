#include "platform/values/sha256.h"

#include <nettle/sha2.h>

namespace quellor {

struct Sha256::State {
  sha256_ctx context;
};

Sha256::Sha256() : state_(std::make_unique<State>()) { sha256_init(&state_->context); }

Sha256::~Sha256() = default;

void Sha256::update(ByteView bytes) { sha256_update(&state_->context, bytes.size(), bytes.data()); }

std::array<std::uint8_t, 32> Sha256::digest() {
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
  sha256_digest(&state_->context, digest.size(), digest.data());
  return digest;
}

std::array<std::uint8_t, 32> sha256(ByteView bytes) {
  Sha256 sha256;
  sha256.update(bytes);
  return sha256.digest();
}

}  // namespace quellor
