#pragma once
#include <array>
#include <cstdint>
#include <memory>

#include "platform/values/bytes.h"

namespace quellor {

/// The SHA-256 digest (FIPS 180-4) of bytes that come in pieces. May throw std::bad_alloc.
class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  /// Goes on with `bytes`.
  void update(ByteView bytes);

  /// The digest of all bytes so far, after which the next begins.
  [[nodiscard]] std::array<std::uint8_t, 32> digest();

 private:
  struct State;  // the library's
  std::unique_ptr<State> state_;
};

/// The SHA-256 digest of `bytes`.
std::array<std::uint8_t, 32> sha256(ByteView bytes);

}  // namespace quellor
