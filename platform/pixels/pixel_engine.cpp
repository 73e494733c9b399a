#include "platform/pixels/pixel_engine.h"

#include "platform/module.h"
#include "platform/pixels/encoding_form.h"
#include "platform/pixels/rgbx_drawing.h"

namespace quellor {
namespace {

bool drawRgbx(const Raster& raster, std::span<std::uint8_t> pixels) noexcept try {
  return pixels::drawRgbx(raster, pixels);
} catch (...) {
  return false;
}

std::optional<Raster> forEncoding(const Raster& raster) noexcept try {
  return pixels::encodingForm(raster);
} catch (...) {
  return std::nullopt;
}

constexpr PixelEngine kPixelEngine{drawRgbx, forEncoding};

}  // namespace
}  // namespace quellor

QUELLOR_MODULE_ENTRY const quellor::PixelEngine* quellorPixelEngine() { return &quellor::kPixelEngine; }
