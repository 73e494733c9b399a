#include "platform/formats/photoshop_resources.h"

#include "platform/values/big_endian.h"

namespace quellor {
namespace {

constexpr std::uint32_t kIptcResource = 0x0404;

/// Names and data are padded to an even length.
constexpr std::size_t padded(std::size_t size) { return size + (size & 1); }

}  // namespace

std::optional<ByteView> iptcInResources(ByteView resources) {
  constexpr std::size_t kFixedPart = 7;  // signature, number, length of the name
  while (resources.size() >= kFixedPart && startsWith(resources, "8BIM")) {
    const std::uint32_t number = bigEndian16(resources, 4);
    const std::size_t sizeOffset = 6 + padded(std::size_t{1} + resources[6]);
    if (resources.size() < sizeOffset + 4) return std::nullopt;
    const std::size_t size = bigEndian32(resources, sizeOffset);
    resources = resources.subspan(sizeOffset + 4);
    if (size > resources.size()) return std::nullopt;
    if (number == kIptcResource) return size == 0 ? std::nullopt : std::optional(resources.first(size));
    resources = resources.subspan(std::min(padded(size), resources.size()));
  }
  return std::nullopt;
}

}  // namespace quellor
