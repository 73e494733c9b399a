#include "platform/color/color_engine.h"

#include <exception>

#include "platform/color/profile_builder.h"
#include "platform/color/profile_reader.h"
#include "platform/module.h"

namespace quellor {
namespace {

// Nothing but memory that cannot be had throws here; that makes the answer absent.

std::optional<ProfileFacts> describe(ByteView profile) noexcept {
  try {
    return describeProfile(profile);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<Bytes> build(const std::string& spaceName) noexcept {
  try {
    return buildProfile(spaceName);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

constexpr ColorEngine kEngine{describe, build};

}  // namespace
}  // namespace quellor

QUELLOR_MODULE_ENTRY const quellor::ColorEngine* quellorColorEngine() { return &quellor::kEngine; }
