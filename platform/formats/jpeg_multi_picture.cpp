#include "platform/formats/jpeg_multi_picture.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_set>

#include "platform/formats/jpeg_session.h"
#include "platform/metadata/tiff_directory.h"
#include "platform/values/big_endian.h"
#include "platform/values/metadata_blocks.h"

namespace quellor::jpeg {
namespace {

using namespace std::string_view_literals;

// CIPA DC-007, 5.2.3.
constexpr std::uint16_t kEntryList = 0xB002;
constexpr std::size_t kEntrySize = 16;

// Kinds of images, in the lower 24 bits of an entry's attributes. A large thumbnail has its size in the last byte.
constexpr std::uint32_t kKindMask = 0xFFFFFF;
constexpr std::uint32_t kUndefined = 0;
constexpr std::uint32_t kLargeThumbnail = 0x010000;
constexpr std::uint32_t kGainMap = 0x050000;

/// Bytes of an image in which its segments are looked for, and how many images are looked into. Both are far above what
/// files have, and what is beyond them counts as a picture.
constexpr std::size_t kMaximumLook = std::size_t{1} << 18;
constexpr std::size_t kMaximumLooks = 64;

bool contains(ByteView bytes, std::string_view text) {
  return std::search(bytes.begin(), bytes.end(), text.begin(), text.end(),
                     [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); }) != bytes.end();
}

/// Whether a packet describes its own image as a gain map. The packet of a picture that has one only names the
/// vocabulary and its version.
bool isGainMapPacket(ByteView packet) {
  if (contains(packet, "http://ns.adobe.com/hdr-gain-map/1.0/") && contains(packet, "GainMapMax")) return true;
  return contains(packet, ":aux:hdrgainmap");
}

/// ISO 21496-1 gives a picture that has a gain map a segment with the name and two version numbers, the gain map one
/// with its parameters.
bool isGainMapParameters(ByteView payload) {
  constexpr auto kName = "urn:iso:std:iso:ts:21496:-1\0"sv;
  constexpr std::size_t kVersions = 4;
  return startsWith(payload, kName) && payload.size() > kName.size() + kVersions;
}

bool isGainMap(ByteView image) {
  Session session(image.first(std::min(image.size(), kMaximumLook)));
  session.readHeader();  // the segments up to where it ends or breaks are enough
  return std::any_of(session.segments().begin(), session.segments().end(), [](const Segment& segment) {
    if (segment.marker == JPEG_APP0 + 2) return isGainMapParameters(segment.payload);
    return segment.marker == JPEG_APP0 + 1 && startsWith(segment.payload, kXmpSegmentName) &&
           isGainMapPacket(segment.payload);
  });
}

/// The list of entries of the index; empty when it cannot be read.
struct EntryList {
  ByteView bytes;
  metadata::ByteOrder order = metadata::ByteOrder::littleEndian;

  [[nodiscard]] std::size_t size() const { return bytes.size() / kEntrySize; }
  [[nodiscard]] std::uint32_t number(std::size_t entry, std::size_t offset) const {
    return static_cast<std::uint32_t>(metadata::readUnsigned(bytes.subspan(entry * kEntrySize + offset, 4), order));
  }
};

EntryList entriesOf(ByteView extension) {
  const auto header = metadata::readTiffHeader(extension);
  const auto position = header ? metadata::positionOfOffset(header->block, header->firstDirectoryOffset) : std::nullopt;
  const auto directory = position ? metadata::readTiffDirectory(header->block, *position) : std::nullopt;
  const metadata::TiffEntry* const list = directory ? directory->find(kEntryList) : nullptr;
  if (list == nullptr) return {};
  return {metadata::valueBytes(header->block, *list), header->block.order};
}

class PictureCounter {
 public:
  PictureCounter(ByteView file, ByteView extension)
      : file_(file), base_(static_cast<std::size_t>(extension.data() - file.data())) {}

  /// `offset` is 0 for the image that holds the index.
  void see(std::uint32_t attributes, std::uint32_t size, std::uint32_t offset) {
    const std::uint32_t kind = attributes & kKindMask;
    if (offset == 0 || (kind & 0xFF0000) == kLargeThumbnail || kind == kGainMap) return;
    if (offset >= file_.size() - base_ || !seen_.insert(offset).second) return;
    const ByteView image = file_.subspan(base_ + offset);
    if (!startsWith(image, "\xFF\xD8"sv)) return;
    if (kind == kUndefined && looks_ < kMaximumLooks) {
      ++looks_;
      if (isGainMap(image.first(std::min<std::size_t>(image.size(), size)))) return;
    }
    ++count_;
  }

  [[nodiscard]] std::size_t count() const { return count_; }

 private:
  ByteView file_;
  std::size_t base_;  // from where offsets count
  std::size_t count_ = 1;
  std::size_t looks_ = 0;
  std::unordered_set<std::uint32_t> seen_;
};

}  // namespace

std::size_t countPictures(ByteView file, ByteView extension) {
  const EntryList entries = entriesOf(extension);
  PictureCounter counter(file, extension);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    counter.see(entries.number(i, 0), entries.number(i, 4), entries.number(i, 8));
  }
  return counter.count();
}

}  // namespace quellor::jpeg
