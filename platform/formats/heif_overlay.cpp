#include "platform/formats/heif_overlay.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/formats/heif_items.h"
#include "platform/formats/planes.h"
#include "platform/heif/derivations.h"
#include "platform/heif/item_data.h"
#include "platform/pixels/rgb_planes.h"

namespace quellor::formats {
namespace {

constexpr std::size_t kMaximumDataBytes = std::size_t{1} << 21;

/// The part of an input that lies on the canvas.
struct Placement {
  std::uint32_t fromLeft = 0;  // in the input
  std::uint32_t fromTop = 0;
  std::uint32_t left = 0;  // on the canvas
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

struct Range {
  std::uint32_t from = 0;
  std::uint32_t to = 0;
  std::uint32_t size = 0;
};

/// In one direction.
Range overlapOf(std::int64_t offset, std::int64_t size, std::int64_t canvas) {
  const std::int64_t begin = std::max<std::int64_t>(offset, 0), end = std::min(offset + size, canvas);
  if (begin >= end) return {};
  return {static_cast<std::uint32_t>(begin - offset), static_cast<std::uint32_t>(begin),
          static_cast<std::uint32_t>(end - begin)};
}

Placement placementOf(const Raster& input, heif::ImageOverlay::Offset offset, heif::ImageSize canvas) {
  const Range across = overlapOf(offset.x, input.width, canvas.width);
  const Range down = overlapOf(offset.y, input.height, canvas.height);
  return {across.from, down.from, across.to, down.to, across.size, down.size};
}

/// Draws one row of one colour. `alpha` is null for an opaque input.
template <typename Sample>
void drawRow(const std::uint8_t* from, std::size_t fromStep, const std::uint8_t* alpha, std::size_t alphaStep,
             std::uint8_t* to, std::uint32_t count, std::uint32_t greatest, bool premultiplied) {
  for (std::uint32_t x = 0; x < count; ++x, from += fromStep, to += sizeof(Sample)) {
    std::uint32_t value = std::min<std::uint32_t>(loadSample<Sample>(from), greatest);
    if (alpha != nullptr) {
      const std::uint32_t opacity = std::min<std::uint32_t>(loadSample<Sample>(alpha + x * alphaStep), greatest);
      const std::uint64_t above = std::uint64_t{value} * (premultiplied ? greatest : opacity);
      const std::uint64_t below = std::uint64_t{loadSample<Sample>(to)} * (greatest - opacity);
      value = std::min(static_cast<std::uint32_t>((above + below + greatest / 2) / greatest), greatest);
    }
    const auto sample = static_cast<Sample>(value);
    std::memcpy(to, &sample, sizeof sample);
  }
}

/// `rgb` has the colours of `input`, which may have alpha.
void draw(const Planes& canvas, const Raster& rgb, const Raster& input, const Placement& place) {
  const int bits = rgb.bitsPerComponent;
  const auto drawAnyRow = bytesPerSample(bits) == 1 ? drawRow<std::uint8_t> : drawRow<std::uint16_t>;
  const std::uint32_t greatest = (1U << bits) - 1;
  const auto sampleOf = [&](const Component& component, std::uint32_t row) {
    return component.firstSample + (place.fromTop + row) * component.strideBytes + place.fromLeft * component.stepBytes;
  };
  for (std::uint32_t row = 0; row < place.height; ++row) {
    const std::uint8_t* const alpha = input.alpha ? sampleOf(*input.alpha, row) : nullptr;
    const std::size_t alphaStep = input.alpha ? input.alpha->stepBytes : 0;
    for (std::size_t color = 0; color < 3; ++color) {
      const Component& component = rgb.components[color];
      drawAnyRow(sampleOf(component, row), component.stepBytes, alpha, alphaStep,
                 canvas.at(color, place.left, place.top + row), place.width, greatest, input.premultiplied);
    }
  }
}

Planes filledCanvas(const heif::ImageOverlay& overlay, int bits) {
  Planes canvas({SampleModel::rgb, 1, 1, bits}, overlay.size.width, overlay.size.height, false);
  const std::uint32_t greatest = (1U << bits) - 1;
  for (std::size_t color = 0; color < 3; ++color) {
    const auto value = static_cast<std::uint16_t>((overlay.fill[color] * greatest + 32767U) / 65535U);
    canvas.fill(color, value, 0, 0, overlay.size.width, overlay.size.height);
  }
  return canvas;
}

}  // namespace

Outcome<DecodedImage> decodeOverlay(const ItemDecoder& decoder, const heif::Item& item, unsigned threads) {
  const heif::Container& container = decoder.container();
  const auto inputs = container.referencesFrom(item.id, heif::fourCC("dimg"));
  const auto data = heif::itemData(container, item, kMaximumDataBytes);
  const auto overlay = data ? heif::readImageOverlay(*data, inputs.size()) : std::nullopt;
  if (!overlay) return Refusal{"the description of an overlay is broken"};
  std::optional<Planes> canvas;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    auto image = decoder.decode(decoder.input(inputs[i]), Transformations::all, threads);
    if (!image) return image.refusal();
    const Raster input = sitedOnLeft(std::move(*image));
    const auto rgb = pixels::rgbPlanes(input);
    if (!rgb) return Refusal{"an input of an overlay has no known conversion to RGB"};
    if (!canvas) canvas = filledCanvas(*overlay, input.bitsPerComponent);
    if (canvas->layout().bits != input.bitsPerComponent) return Refusal{"inputs of an overlay differ in depth"};
    draw(*canvas, *rgb, input, placementOf(input, overlay->offsets[i], overlay->size));
  }
  if (!canvas) canvas = filledCanvas(*overlay, 8);
  DecodedImage image{canvas->raster()};
  image.raster.coding.fullRange = true;
  return image;
}

}  // namespace quellor::formats
