#include "platform/codecs/codec.h"
#include "platform/codecs/heif_decode.h"
#include "platform/heif/heif_facts.h"
#include "platform/module.h"

namespace quellor {
namespace {

std::optional<EncodedFacts> describe(ByteView file) noexcept {
  try {
    return heif::factsOf(file);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<Raster> decode(ByteView file) noexcept {
  try {
    return heif::decodePrimaryImage(file);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

constexpr Codec kCodec = {describe, decode};

}  // namespace
}  // namespace quellor

QUELLOR_MODULE_ENTRY const quellor::Codec* quellorCodec() { return &quellor::kCodec; }
