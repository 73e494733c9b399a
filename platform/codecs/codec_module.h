#pragma once
#include <exception>
#include <optional>

#include "platform/codecs/codec.h"
#include "platform/module.h"

namespace quellor {

/// `function`, with absence for every exception: most often memory that cannot be had.
template <auto function>
auto absentOnException(ByteView file) noexcept -> decltype(function(file)) {
  try {
    return function(file);
  } catch (...) {
    return std::nullopt;
  }
}

}  // namespace quellor

/// Defines what a codec's module exports. `describe` and `decode` are as in Codec, but may throw.
#define QUELLOR_CODEC_MODULE(describe, decode)                                     \
  QUELLOR_MODULE_ENTRY const quellor::Codec* quellorCodec() {                      \
    static constexpr quellor::Codec codec = {quellor::absentOnException<describe>, \
                                             quellor::absentOnException<decode>};  \
    return &codec;                                                                 \
  }
