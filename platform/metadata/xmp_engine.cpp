#include "platform/metadata/xmp_engine.h"

#include <exception>

#include "platform/metadata/xmp_editor.h"
#include "platform/module.h"

namespace quellor {
namespace {

// Nothing but memory that cannot be had throws here; that makes the answer absent.

PacketContents contentsOf(ByteView packet) noexcept {
  try {
    return contentsOfXmp(packet);
  } catch (const std::exception&) {
    return {};
  }
}

std::optional<Bytes> edited(ByteView packet, const XmpEdit& edit) noexcept {
  try {
    return editedXmp(packet, edit);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

constexpr XmpEngine kEngine{contentsOf, edited};

}  // namespace
}  // namespace quellor

QUELLOR_MODULE_ENTRY const quellor::XmpEngine* quellorXmpEngine() { return &quellor::kEngine; }
