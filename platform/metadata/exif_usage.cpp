#include "platform/metadata/exif_usage.h"

#include <algorithm>

#include "platform/metadata/tiff_writing.h"

namespace quellor::metadata {

namespace {

constexpr std::uint16_t kStripOffsets = 0x0111;
constexpr std::uint16_t kStripByteCounts = 0x0117;
constexpr std::uint16_t kJpegOffset = 0x0201;
constexpr std::uint16_t kJpegLength = 0x0202;

/// More strips than any thumbnail has.
constexpr std::size_t kMaximumStrips = 4096;

bool standsOutside(const TiffEntry& entry) {
  return entry.valueReadable && entry.valuePosition != entry.position + kTiffEntrySize - 4;
}

}  // namespace

bool hasLink(const TiffBlock& block, const TiffDirectory& directory) {
  const std::size_t link = directory.position + tiffDirectorySize(directory.entries.size());
  if (!directory.complete || block.bytes.size() - link < kTiffLinkSize) return false;
  return std::none_of(directory.entries.begin(), directory.entries.end(), [link](const TiffEntry& entry) {
    return standsOutside(entry) && entry.valuePosition < link + kTiffLinkSize &&
           link < entry.valuePosition + entry.valueSize;
  });
}

ExifUsage::ExifUsage(const TiffBlock& block) : block_(block) { keep(0, kTiffHeaderSize); }

void ExifUsage::keepValue(const TiffEntry& entry) {
  if (standsOutside(entry)) keep(entry.valuePosition, entry.valueSize);
}

void ExifUsage::dropValue(const TiffEntry& entry) {
  if (standsOutside(entry)) drop(entry.valuePosition, entry.valueSize);
}

void ExifUsage::keepDirectory(const TiffDirectory& directory) {
  const std::size_t link = hasLink(block_, directory) ? kTiffLinkSize : 0;
  keep(directory.position, tiffDirectorySize(directory.entries.size()) + link);
  for (const TiffEntry& entry : directory.entries) keepValue(entry);
}

void ExifUsage::dropDirectory(const TiffDirectory& directory) {
  const std::size_t link = hasLink(block_, directory) ? kTiffLinkSize : 0;
  drop(directory.position, tiffDirectorySize(directory.entries.size()) + link);
  for (const TiffEntry& entry : directory.entries) dropValue(entry);
}

void ExifUsage::dropThumbnail(const TiffDirectory& directory) {
  dropDirectory(directory);
  dropImageData(directory, kJpegOffset, kJpegLength);
  dropImageData(directory, kStripOffsets, kStripByteCounts);
}

void ExifUsage::dropImageData(const TiffDirectory& directory, std::uint16_t offsetsTag, std::uint16_t sizesTag) {
  const std::vector<std::uint32_t> offsets = numbers(directory, offsetsTag);
  const std::vector<std::uint32_t> sizes = numbers(directory, sizesTag);
  for (std::size_t i = 0; i < std::min(offsets.size(), sizes.size()); ++i) {
    const auto position = positionOfOffset(block_, offsets[i]);
    if (position) drop(*position, std::min<std::size_t>(sizes[i], block_.bytes.size() - *position));
  }
}

std::vector<std::uint32_t> ExifUsage::numbers(const TiffDirectory& directory, std::uint16_t tag) const {
  const TiffEntry* const entry = directory.find(tag);
  if (entry == nullptr) return {};
  const auto type = static_cast<TiffType>(entry->type);
  if (type != TiffType::shortInteger && type != TiffType::longInteger) return {};
  const std::size_t unit = tiffTypeSize(entry->type);
  const std::size_t count = std::min<std::size_t>(entry->count, kMaximumStrips);
  std::vector<std::uint32_t> numbers;
  for (std::size_t i = 0; i < count; ++i) {
    const ByteView bytes = valueBytes(block_, *entry).subspan(i * unit, unit);
    numbers.push_back(static_cast<std::uint32_t>(readUnsigned(bytes, block_.order)));
  }
  return numbers;
}

}  // namespace quellor::metadata
