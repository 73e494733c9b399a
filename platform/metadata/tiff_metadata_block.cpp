#include "platform/metadata/tiff_metadata_block.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "platform/metadata/exif_directories.h"
#include "platform/metadata/tiff_writing.h"

namespace quellor {

namespace {

using namespace metadata;

constexpr std::size_t kInlineValueSize = 4;
constexpr std::uint16_t kTiffMagic = 42;

// TIFF 6.0, sections 8, 12 and 20; Exif 2.32, table 4; ratings and titles as desktop photo managers write them.
constexpr auto kDescriptiveTags = std::to_array<std::uint16_t>({
    269,    // DocumentName
    270,    // ImageDescription
    271,    // Make
    272,    // Model
    274,    // Orientation
    282,    // XResolution
    283,    // YResolution
    285,    // PageName
    296,    // ResolutionUnit
    297,    // PageNumber
    305,    // Software
    306,    // DateTime
    315,    // Artist
    316,    // HostComputer
    18246,  // rating, 0 to 5
    18249,  // rating in per cent
    33432,  // Copyright
    40091,  // title
    40092,  // comment
    40093,  // author
    40094,  // keywords
    40095,  // subject
});

struct Field {
  std::uint16_t tag;
  std::uint16_t type;
  std::uint32_t count;
  Bytes value;
};

/// Copies entries out of a file, together at most as many bytes as the file has: entries may share their values.
class FieldCollector {
 public:
  explicit FieldCollector(const TiffBlock& file) : file_(file), bytesLeft_(file.bytes.size()) {}

  template <typename Predicate>
  std::vector<Field> collect(const TiffDirectory& directory, const Predicate& wanted) {
    std::vector<Field> fields;
    for (const TiffEntry& entry : directory.entries) {
      if (!entry.valueReadable || entry.valueSize > bytesLeft_ || !wanted(entry.tag)) continue;
      bytesLeft_ -= entry.valueSize;
      const ByteView value = valueBytes(file_, entry);
      fields.push_back({entry.tag, entry.type, entry.count, Bytes(value.begin(), value.end())});
    }
    // Directories are in ascending order of their tags (TIFF 6.0, section 2); the first of a repeated tag counts.
    std::stable_sort(fields.begin(), fields.end(), [](const Field& a, const Field& b) { return a.tag < b.tag; });
    const auto end =
        std::unique(fields.begin(), fields.end(), [](const Field& a, const Field& b) { return a.tag == b.tag; });
    fields.erase(end, fields.end());
    return fields;
  }

 private:
  TiffBlock file_;
  std::size_t bytesLeft_;
};

/// Values begin on even offsets (TIFF 6.0, section 2).
std::size_t paddedSize(const Bytes& value) { return value.size() + value.size() % 2; }

/// Of a directory with its link and the values that stand behind it.
std::size_t directorySize(const std::vector<Field>& fields, std::size_t more = 0) {
  std::size_t size = tiffDirectorySize(fields.size() + more) + kTiffLinkSize;
  for (const Field& field : fields) {
    if (field.value.size() > kInlineValueSize) size += paddedSize(field.value);
  }
  return size;
}

/// Writes a block: directories one behind the other, each with its values right after it.
class BlockWriter {
 public:
  explicit BlockWriter(ByteOrder order) : order_(order), bytes_(kTiffHeaderSize) {
    bytes_[0] = bytes_[1] = order == ByteOrder::bigEndian ? 'M' : 'I';
    writeUnsigned(bytes_, 2, kTiffMagic, 2, order);
    writeUnsigned(bytes_, 4, kTiffHeaderSize, 4, order);
  }

  void appendDirectory(const std::vector<Field>& fields) {
    const std::size_t position = bytes_.size();
    bytes_.resize(position + directorySize(fields));
    std::size_t valuePosition = position + tiffDirectorySize(fields.size()) + kTiffLinkSize;
    std::vector<RawTiffEntry> entries;
    for (const Field& field : fields) {
      const auto type = static_cast<TiffType>(field.type);
      if (field.value.size() <= kInlineValueSize) {
        entries.push_back(tiffEntry(field.tag, type, field.count, field.value, order_));
        continue;
      }
      entries.push_back(tiffEntry(field.tag, type, field.count, unsignedBytes(valuePosition, 4, order_), order_));
      std::copy(field.value.begin(), field.value.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(valuePosition));
      valuePosition += paddedSize(field.value);
    }
    writeTiffDirectory(bytes_, position, entries, 0, order_);
  }

  Bytes take() { return std::move(bytes_); }

 private:
  ByteOrder order_;
  Bytes bytes_;
};

Field pointer(std::uint16_t tag, std::size_t position, ByteOrder order) {
  return {tag, static_cast<std::uint16_t>(TiffType::longInteger), 1, unsignedBytes(position, 4, order)};
}

bool isDescriptive(std::uint16_t tag) {
  return std::find(kDescriptiveTags.begin(), kDescriptiveTags.end(), tag) != kDescriptiveTags.end();
}

bool isNoPointer(std::uint16_t tag) { return !exif_tag::isPointer(tag); }

std::optional<Bytes> buildBlock(const ExifDirectories& source) {
  FieldCollector collector(source.block);
  std::vector<Field> first = collector.collect(source.first, isDescriptive);
  std::vector<Field> exif;
  std::vector<Field> gps;
  if (!source.exif.empty()) exif = collector.collect(source.exif.front(), isNoPointer);
  if (!source.gps.empty()) gps = collector.collect(source.gps.front(), isNoPointer);
  if (first.empty() && exif.empty() && gps.empty()) return std::nullopt;

  const std::size_t pointers = (exif.empty() ? 0U : 1U) + (gps.empty() ? 0U : 1U);
  const std::size_t exifPosition = kTiffHeaderSize + directorySize(first, pointers);
  const std::size_t gpsPosition = exifPosition + (exif.empty() ? 0 : directorySize(exif));
  const std::size_t total = gpsPosition + (gps.empty() ? 0 : directorySize(gps));
  if (total > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;

  BlockWriter writer(source.block.order);
  // Every descriptive tag but Copyright and the titles is below the two pointers; the order is restored here.
  if (!exif.empty()) first.push_back(pointer(exif_tag::kExifPointer, exifPosition, source.block.order));
  if (!gps.empty()) first.push_back(pointer(exif_tag::kGpsPointer, gpsPosition, source.block.order));
  std::sort(first.begin(), first.end(), [](const Field& a, const Field& b) { return a.tag < b.tag; });
  writer.appendDirectory(first);
  if (!exif.empty()) writer.appendDirectory(exif);
  if (!gps.empty()) writer.appendDirectory(gps);
  return writer.take();
}

}  // namespace

std::optional<Bytes> exifBlockFromTiff(ByteView tiffFile) {
  try {
    const auto source = readExifDirectories(tiffFile);
    return source ? buildBlock(*source) : std::nullopt;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace quellor
