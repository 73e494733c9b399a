#include "platform/formats/heif_alpha.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "platform/formats/planes.h"

namespace quellor::formats {
namespace {

/// The component of `raster` with the range of values stretched to that of `bits`, in memory of its own.
Component stretched(const Component& from, int fromBits, int bits, std::shared_ptr<const void>& owner) {
  const Planes planes({SampleModel::grey, 1, 1, bits}, from.width, from.height, false, from.firstSample != nullptr);
  if (from.firstSample == nullptr) return planes.raster().components[0];
  const std::size_t fromBytes = bytesPerSample(fromBits), toBytes = bytesPerSample(bits);
  const std::uint32_t fromGreatest = (1U << fromBits) - 1, greatest = (1U << bits) - 1;
  for (std::uint32_t y = 0; y < from.height; ++y) {
    const std::uint8_t* in = from.firstSample + y * from.strideBytes;
    std::uint8_t* out = planes.at(0, 0, y);
    for (std::uint32_t x = 0; x < from.width; ++x, in += from.stepBytes, out += toBytes) {
      const std::uint32_t sample = std::min<std::uint32_t>(loadSample(in, fromBytes), fromGreatest);
      const auto value = static_cast<std::uint16_t>((sample * greatest + fromGreatest / 2) / fromGreatest);
      if (toBytes == 1) {
        *out = static_cast<std::uint8_t>(value);
      } else {
        std::memcpy(out, &value, sizeof value);
      }
    }
  }
  owner = planes.raster().owner;
  return planes.raster().components[0];
}

using Owners = std::vector<std::shared_ptr<const void>>;

/// Brings every component to the depth of `bits`, which is no less than their own.
void stretchTo(int bits, Raster& raster, Owners& owners) {
  if (raster.bitsPerComponent == bits) return;
  for (Component& component : raster.components) {
    std::shared_ptr<const void> owner;
    component = stretched(component, raster.bitsPerComponent, bits, owner);
    owners.push_back(std::move(owner));
  }
  raster.bitsPerComponent = bits;
}

}  // namespace

Outcome<DecodedImage> withAlpha(UntransformedImage master, UntransformedImage alpha, const heif::Container& container,
                                Transformations which) {
  const Raster& whole = master.image.raster;
  const bool shared = !isTransformed(container, alpha.item) && whole.width == alpha.image.raster.width &&
                      whole.height == alpha.image.raster.height;
  const heif::Item& alphaTurns = shared ? master.item : alpha.item;
  auto color = transformed(std::move(master.image), container, master.item, which);
  auto opacity = transformed(std::move(alpha.image), container, alphaTurns, which);
  if (!color) return color.refusal();
  if (!opacity) return opacity.refusal();
  Raster& raster = color->raster;
  Raster& plane = opacity->raster;
  if (raster.width != plane.width || raster.height != plane.height) return Refusal{"alpha is of another size"};

  plane.components.resize(1);
  Owners owners = {raster.owner, plane.owner};
  const int bits = std::max(raster.bitsPerComponent, plane.bitsPerComponent);
  stretchTo(bits, raster, owners);
  stretchTo(bits, plane, owners);
  raster.alpha = plane.components[0];
  raster.premultiplied = !container.referencesFrom(master.item.id, heif::fourCC("prem")).empty();
  raster.owner = std::make_shared<const Owners>(std::move(owners));
  return color;
}

}  // namespace quellor::formats
