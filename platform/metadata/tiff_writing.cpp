#include "platform/metadata/tiff_writing.h"

#include <algorithm>

namespace quellor::metadata {

namespace {

template <typename Container>
void store(Container& bytes, std::size_t position, std::uint64_t number, std::size_t size, ByteOrder order) {
  for (std::size_t i = 0; i < size; ++i) {
    bytes[position + (order == ByteOrder::bigEndian ? size - 1 - i : i)] = static_cast<std::uint8_t>(number >> (8 * i));
  }
}

}  // namespace

void writeUnsigned(Bytes& block, std::size_t position, std::uint64_t number, std::size_t size, ByteOrder order) {
  store(block, position, number, size, order);
}

RawTiffEntry tiffEntry(std::uint16_t tag, TiffType type, std::uint32_t count, ByteView value, ByteOrder order) {
  RawTiffEntry entry{};
  store(entry, 0, tag, 2, order);
  store(entry, 2, static_cast<std::uint16_t>(type), 2, order);
  store(entry, 4, count, 4, order);
  std::copy(value.begin(), value.end(), entry.begin() + kTiffValueInEntry);
  return entry;
}

RawTiffEntry shortTiffEntry(std::uint16_t tag, std::uint16_t value, ByteOrder order) {
  return tiffEntry(tag, TiffType::shortInteger, 1, unsignedBytes(value, 2, order), order);
}

Bytes unsignedBytes(std::uint64_t number, std::size_t size, ByteOrder order) {
  Bytes bytes(size);
  store(bytes, 0, number, size, order);
  return bytes;
}

std::uint16_t tagOf(const RawTiffEntry& entry, ByteOrder order) {
  return static_cast<std::uint16_t>(readUnsigned(ByteView(entry).first(2), order));
}

void writeTiffDirectory(Bytes& block, std::size_t position, const std::vector<RawTiffEntry>& entries,
                        std::optional<std::uint32_t> link, ByteOrder order) {
  writeUnsigned(block, position, entries.size(), 2, order);
  auto at = block.begin() + static_cast<std::ptrdiff_t>(position + 2);
  for (const RawTiffEntry& entry : entries) at = std::copy(entry.begin(), entry.end(), at);
  if (link) writeUnsigned(block, position + tiffDirectorySize(entries.size()), *link, kTiffLinkSize, order);
}

}  // namespace quellor::metadata
