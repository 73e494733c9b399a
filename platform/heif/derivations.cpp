#include "platform/heif/derivations.h"

namespace quellor::heif {
namespace {

constexpr std::uint8_t kVersion = 0;
constexpr std::uint8_t kWideFields = 1;  // a flag

bool isEmpty(ImageSize size) { return size.width == 0 || size.height == 0; }

std::int32_t signedOf(ByteReader& reader, std::size_t size) {
  const auto value = static_cast<std::uint32_t>(reader.unsignedOf(size));
  return size == 2 ? static_cast<std::int16_t>(value) : static_cast<std::int32_t>(value);
}

ImageSize sizeOf(ByteReader& reader, std::size_t fieldSize) {
  const auto width = static_cast<std::uint32_t>(reader.unsignedOf(fieldSize));
  return {width, static_cast<std::uint32_t>(reader.unsignedOf(fieldSize))};
}

}  // namespace

std::optional<ImageGrid> readImageGrid(ByteView data) try {
  ByteReader reader(data);
  if (reader.u8() != kVersion) return std::nullopt;
  const std::size_t fieldSize = (reader.u8() & kWideFields) != 0 ? 4 : 2;
  ImageGrid grid;
  grid.rows = reader.u8() + 1U;
  grid.columns = reader.u8() + 1U;
  grid.size = sizeOf(reader, fieldSize);
  return isEmpty(grid.size) ? std::nullopt : std::optional(grid);
} catch (const MalformedContainer&) {
  return std::nullopt;
}

std::optional<ImageOverlay> readImageOverlay(ByteView data, std::size_t inputs) try {
  ByteReader reader(data);
  if (reader.u8() != kVersion) return std::nullopt;
  const std::size_t fieldSize = (reader.u8() & kWideFields) != 0 ? 4 : 2;
  ImageOverlay overlay;
  for (std::uint16_t& value : overlay.fill) value = reader.u16();
  reader.u16();
  overlay.size = sizeOf(reader, fieldSize);
  if (isEmpty(overlay.size) || reader.remaining() / (2 * fieldSize) < inputs) return std::nullopt;
  for (std::size_t i = 0; i < inputs; ++i) {
    const std::int32_t x = signedOf(reader, fieldSize);
    overlay.offsets.push_back({x, signedOf(reader, fieldSize)});
  }
  return overlay;
} catch (const MalformedContainer&) {
  return std::nullopt;
}

}  // namespace quellor::heif
