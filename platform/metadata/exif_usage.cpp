#include "platform/metadata/exif_usage.h"

#include <algorithm>

#include "platform/metadata/exif_directories.h"
#include "platform/metadata/tiff_writing.h"

namespace quellor::metadata {

namespace {

constexpr std::uint16_t kStripOffsets = 0x0111;
constexpr std::uint16_t kStripByteCounts = 0x0117;
constexpr std::uint16_t kJpegOffset = 0x0201;
constexpr std::uint16_t kJpegLength = 0x0202;

/// More strips than any thumbnail has.
constexpr std::size_t kMaximumStrips = 4096;

/// Bytes that the directory takes where it stands.
std::size_t sizeIn(const TiffBlock& block, const TiffDirectory& directory) {
  return tiffDirectorySize(directory.entries.size()) + (hasLink(block, directory) ? kTiffLinkSize : 0);
}

void addAll(ByteRanges& ranges, const std::vector<ByteRange>& more) {
  for (const ByteRange& range : more) ranges.add(range.begin, range.end - range.begin);
}

}  // namespace

ExifUsage::ExifUsage(const TiffBlock& block) : block_(block) { keep(0, kTiffHeaderSize); }

void ExifUsage::spare(const std::vector<ByteRange>& ranges) { addAll(spared_, ranges); }

void ExifUsage::keepValue(const TiffEntry& entry) {
  if (!entry.standsOutside()) return;
  keep(entry.valuePosition, entry.valueSize);
  unchanged_.add(entry.valuePosition, entry.valueSize);
}

void ExifUsage::removeValue(const TiffEntry& entry) {
  if (entry.standsOutside()) remove(entry.valuePosition, entry.valueSize);
}

void ExifUsage::removeDirectory(const TiffDirectory& directory) {
  remove(directory.position, sizeIn(block_, directory));
  for (const TiffEntry& entry : directory.entries) removeValue(entry);
}

void ExifUsage::dropThumbnail(const TiffDirectory& directory) {
  drop(directory.position, sizeIn(block_, directory));
  for (const TiffEntry& entry : directory.entries) {
    if (entry.standsOutside()) drop(entry.valuePosition, entry.valueSize);
  }
  dropImageData(directory, kJpegOffset, kJpegLength);
  dropImageData(directory, kStripOffsets, kStripByteCounts);
}

bool ExifUsage::conflicts() const { return removed_.without(kept_) != removed_.merged(); }

std::vector<ByteRange> ExifUsage::wiped() const {
  ByteRanges going = dropped_;
  addAll(going, removed_.merged());
  ByteRanges staying = kept_;
  addAll(staying, spared_.without(removed_));
  return going.without(staying);
}

bool ExifUsage::keptIsUnchangedIn(ByteView edited) const {
  const std::vector<ByteRange> ranges = unchanged_.merged();
  return std::all_of(ranges.begin(), ranges.end(), [&](const ByteRange& range) {
    const std::size_t size = range.end - range.begin;
    return range.end <= edited.size() &&
           std::ranges::equal(edited.subspan(range.begin, size), block_.bytes.subspan(range.begin, size));
  });
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
