#include "platform/metadata/metadata_summary.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "platform/metadata/exif_directories.h"
#include "platform/metadata/maker_notes.h"
#include "platform/metadata/xmp_editor.h"

namespace quellor {

namespace {

using namespace metadata;

constexpr double kInchesPerCentimetre = 1 / 2.54;

/// The entries that stand for themselves, not for another directory.
bool hasReadableEntry(const TiffDirectory& directory) {
  return std::any_of(directory.entries.begin(), directory.entries.end(),
                     [](const TiffEntry& entry) { return entry.valueReadable && !exif_tag::isPointer(entry.tag); });
}

bool hasReadableEntry(const std::vector<TiffDirectory>& directories) {
  return std::any_of(directories.begin(), directories.end(),
                     [](const TiffDirectory& each) { return hasReadableEntry(each); });
}

void addMakerNotes(const ExifDirectories& directories, MetadataSummary& summary) {
  const std::string make = makeIn(directories);
  for (const TiffDirectory& directory : directories.exif) {
    // The first note of a directory counts: thousands could share the bytes of one.
    const TiffEntry* const note = directory.find(exif_tag::kMakerNote);
    if (note == nullptr) continue;
    summary.makerNote = true;
    if (const auto key = makerDictionaryKey(directories.block, *note, make)) summary.makers.push_back(*key);
  }
}

/// The one number from zero on that the entry holds, of whichever numeric type.
std::optional<double> numberIn(const TiffBlock& block, const TiffEntry& entry) {
  if (const auto integer = unsignedValue(block, entry)) return *integer;
  if (!entry.valueReadable || entry.count != 1) return std::nullopt;
  const ByteView bytes = valueBytes(block, entry);
  switch (static_cast<TiffType>(entry.type)) {
    case TiffType::rational:
    case TiffType::signedRational: {
      const std::uint64_t numerator = readUnsigned(bytes.first(4), block.order);
      const std::uint64_t denominator = readUnsigned(bytes.subspan(4), block.order);
      const bool isSigned = static_cast<TiffType>(entry.type) == TiffType::signedRational;
      const bool negative = isSigned && ((numerator | denominator) >> 31) != 0;
      if (negative || denominator == 0) return std::nullopt;
      return static_cast<double>(numerator) / static_cast<double>(denominator);
    }
    case TiffType::floatNumber:
      return std::bit_cast<float>(static_cast<std::uint32_t>(readUnsigned(bytes, block.order)));
    case TiffType::doubleNumber:
      return std::bit_cast<double>(readUnsigned(bytes, block.order));
    default:
      return std::nullopt;
  }
}

/// Inches per unit of the resolution entries; absent where they give a ratio only (TIFF 6.0, ResolutionUnit).
std::optional<double> inchesPerUnit(const ExifDirectories& directories) {
  const TiffEntry* const entry = directories.first.find(exif_tag::kResolutionUnit);
  const auto unit = entry == nullptr ? std::optional<std::uint32_t>(2) : unsignedValue(directories.block, *entry);
  if (unit == 2U) return 1.0;
  if (unit == 3U) return kInchesPerCentimetre;
  return std::nullopt;
}

std::optional<double> pixelsPerInch(const ExifDirectories& directories, std::uint16_t tag) {
  const TiffEntry* const entry = directories.first.find(tag);
  const auto number = entry == nullptr ? std::nullopt : numberIn(directories.block, *entry);
  const auto inches = inchesPerUnit(directories);
  if (!number || !inches || !std::isfinite(*number) || *number <= 0) return std::nullopt;
  return *number / *inches;
}

std::optional<int> orientationIn(const ExifDirectories& directories) {
  const TiffEntry* const entry = directories.first.find(exif_tag::kOrientation);
  const auto value = entry == nullptr ? std::nullopt : unsignedValue(directories.block, *entry);
  if (!value || *value < 1 || *value > 8) return std::nullopt;
  return static_cast<int>(*value);
}

/// Whether the bytes begin with a complete dataset.
bool beginsWithDataset(ByteView iptc) {
  constexpr std::uint8_t kTagMarker = 0x1C;
  constexpr std::size_t kHeaderSize = 5;
  if (iptc.size() < kHeaderSize || iptc[0] != kTagMarker) return false;
  ByteView rest = iptc.subspan(kHeaderSize);
  std::size_t size = static_cast<std::size_t>(iptc[3] << 8 | iptc[4]);
  if ((size & 0x8000) != 0) {  // extended dataset: the low bits count the bytes of the real size
    const std::size_t sizeBytes = size & 0x7FFF;
    if (sizeBytes > 4 || rest.size() < sizeBytes) return false;
    size = static_cast<std::size_t>(readUnsigned(rest.first(sizeBytes), ByteOrder::bigEndian));
    rest = rest.subspan(sizeBytes);
  }
  return size <= rest.size();
}

void addExif(ByteView exif, MetadataSummary& summary) {
  const auto directories = readExifDirectories(exif);
  if (!directories) return;
  summary.tiff = hasReadableEntry(directories->first);
  summary.exif = hasReadableEntry(directories->exif);
  summary.position = hasReadableEntry(directories->gps);
  summary.exifReadable = summary.tiff || summary.exif || summary.position;
  summary.make = directories->first.find(exif_tag::kMake) != nullptr;
  summary.model = directories->first.find(exif_tag::kModel) != nullptr;
  addMakerNotes(*directories, summary);
  summary.orientation = orientationIn(*directories);
  summary.dpiWidth = pixelsPerInch(*directories, exif_tag::kXResolution);
  summary.dpiHeight = pixelsPerInch(*directories, exif_tag::kYResolution);
}

void addPacket(ByteView packet, MetadataSummary& summary) {
  if (packet.empty()) return;
  summary.packet = true;
  const PacketContents contents = contentsOfXmp(packet);
  summary.position |= contents.position;
  summary.make |= contents.make;
  summary.model |= contents.model;
  summary.makerNote |= contents.makerNote;
}

}  // namespace

MetadataSummary summaryOf(const MetadataBlocks& blocks) {
  MetadataSummary summary;
  if (blocks.exif) addExif(*blocks.exif, summary);
  if (blocks.iptc) summary.iptc = beginsWithDataset(*blocks.iptc);
  if (blocks.xmp) addPacket(*blocks.xmp, summary);
  return summary;
}

}  // namespace quellor
