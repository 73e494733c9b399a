#include "platform/metadata/tiff_directory.h"

#include <algorithm>
#include <array>
#include <limits>

namespace quellor::metadata {

namespace {

constexpr std::size_t kEntrySize = 12;
constexpr std::size_t kInlineValueSize = 4;
constexpr std::uint16_t kClassicTiffMagic = 42;

/// Whether `size` bytes at `position` are inside the block.
bool holds(ByteView bytes, std::size_t position, std::size_t size) {
  return position <= bytes.size() && size <= bytes.size() - position;
}

void locateValue(const TiffBlock& block, TiffEntry& entry) {
  const std::size_t unit = tiffTypeSize(entry.type);
  if (unit == 0 || entry.count > block.bytes.size() / unit) return;
  const std::size_t size = unit * entry.count;
  std::size_t position = entry.position + kEntrySize - kInlineValueSize;
  if (size > kInlineValueSize) {
    const auto offset = readU32(block, position);
    const auto target = offset ? positionOfOffset(block, *offset) : std::nullopt;
    if (!target || !holds(block.bytes, *target, size)) return;
    position = *target;
  }
  entry.valueReadable = true;
  entry.valuePosition = position;
  entry.valueSize = size;
}

bool isSignedType(std::uint16_t type) {
  switch (static_cast<TiffType>(type)) {
    case TiffType::signedByte:
    case TiffType::signedShort:
    case TiffType::signedLong:
    case TiffType::signedLong8:
      return true;
    default:
      return false;
  }
}

bool isIntegerType(std::uint16_t type) {
  switch (static_cast<TiffType>(type)) {
    case TiffType::byte:
    case TiffType::shortInteger:
    case TiffType::longInteger:
    case TiffType::ifd:
    case TiffType::long8:
    case TiffType::ifd8:
      return true;
    default:
      return isSignedType(type);
  }
}

TiffEntry readEntry(const TiffBlock& block, std::size_t position) {
  TiffEntry entry;
  entry.position = position;
  entry.tag = readU16(block, position).value_or(0);
  entry.type = readU16(block, position + 2).value_or(0);
  entry.count = readU32(block, position + 4).value_or(0);
  locateValue(block, entry);
  return entry;
}

}  // namespace

std::size_t tiffTypeSize(std::uint16_t type) {
  static constexpr std::array<std::uint8_t, 19> kSizes = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
  return type < kSizes.size() ? kSizes[type] : 0;
}

const TiffEntry* TiffDirectory::find(std::uint16_t tag) const {
  const auto found = std::find_if(entries.begin(), entries.end(),
                                  [tag](const TiffEntry& entry) { return entry.tag == tag && entry.valueReadable; });
  return found == entries.end() ? nullptr : &*found;
}

std::uint64_t readUnsigned(ByteView bytes, ByteOrder order) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    number = number << 8 | bytes[order == ByteOrder::bigEndian ? i : bytes.size() - 1 - i];
  }
  return number;
}

std::optional<std::uint16_t> readU16(const TiffBlock& block, std::size_t position) {
  if (!holds(block.bytes, position, 2)) return std::nullopt;
  return static_cast<std::uint16_t>(readUnsigned(block.bytes.subspan(position, 2), block.order));
}

std::optional<std::uint32_t> readU32(const TiffBlock& block, std::size_t position) {
  if (!holds(block.bytes, position, 4)) return std::nullopt;
  return static_cast<std::uint32_t>(readUnsigned(block.bytes.subspan(position, 4), block.order));
}

std::optional<ByteOrder> readByteOrderMark(ByteView bytes, std::size_t position) {
  if (!holds(bytes, position, 2) || bytes[position] != bytes[position + 1]) return std::nullopt;
  if (bytes[position] == 'I') return ByteOrder::littleEndian;
  if (bytes[position] == 'M') return ByteOrder::bigEndian;
  return std::nullopt;
}

std::optional<TiffHeader> readTiffHeader(ByteView bytes, std::size_t position) {
  const auto order = readByteOrderMark(bytes, position);
  if (!order) return std::nullopt;
  const TiffBlock block{bytes, *order, position};
  const auto offset = readU32(block, position + 4);
  if (readU16(block, position + 2) != kClassicTiffMagic || !offset) return std::nullopt;
  return TiffHeader{block, *offset};
}

std::optional<std::size_t> positionOfOffset(const TiffBlock& block, std::uint32_t offset) {
  if (block.base > block.bytes.size() || offset >= block.bytes.size() - block.base) return std::nullopt;
  return block.base + offset;
}

std::optional<TiffDirectory> readTiffDirectory(const TiffBlock& block, std::size_t position) {
  const auto promised = readU16(block, position);
  if (!promised) return std::nullopt;
  TiffDirectory directory;
  directory.position = position;
  const std::size_t first = position + 2;
  const std::size_t count = std::min<std::size_t>(*promised, (block.bytes.size() - first) / kEntrySize);
  directory.complete = count == *promised;
  directory.entries.reserve(count);
  for (std::size_t i = 0; i < count; ++i) directory.entries.push_back(readEntry(block, first + i * kEntrySize));
  if (directory.complete) directory.nextOffset = readU32(block, first + count * kEntrySize).value_or(0);
  return directory;
}

ByteView valueBytes(const TiffBlock& block, const TiffEntry& entry) {
  return block.bytes.subspan(entry.valuePosition, entry.valueSize);
}

std::optional<std::size_t> pointedPosition(const TiffBlock& block, const TiffEntry& entry) {
  const auto offset = unsignedValue(block, entry);
  return offset ? positionOfOffset(block, *offset) : std::nullopt;
}

std::optional<std::uint32_t> unsignedValue(const TiffBlock& block, const TiffEntry& entry) {
  if (!isIntegerType(entry.type) || !entry.valueReadable || entry.count != 1) return std::nullopt;
  const std::uint64_t value = readUnsigned(valueBytes(block, entry), block.order);
  // A negative number of less than 64 bits has the highest bit of its type set.
  const bool negative = isSignedType(entry.type) && (value >> (8 * entry.valueSize - 1)) != 0;
  if (negative || value > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

}  // namespace quellor::metadata
