#include "platform/metadata/metadata_properties.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>

#include "platform/metadata/exif_directories.h"
#include "platform/metadata/maker_notes.h"

namespace quellor {

namespace {

using namespace metadata;
using namespace property_key;

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

void addNested(PropertyDictionary& properties, std::string_view group, std::string_view key) {
  if (!properties.contains(group)) properties.set(group, PropertyDictionary{});
  if (auto* const nested = properties.find(group)->as<PropertyDictionary>()) nested->set(key, true);
}

void addMakerNotes(const ExifDirectories& directories, PropertyDictionary& properties) {
  const std::string make = makeIn(directories);
  for (const TiffDirectory& directory : directories.exif) {
    // The first note of a directory counts: thousands could share the bytes of one.
    const TiffEntry* const note = directory.find(exif_tag::kMakerNote);
    if (note == nullptr) continue;
    addNested(properties, kExif, kExifMakerNote);
    const auto key = makerDictionaryKey(directories.block, *note, make);
    if (key) properties.set(*key, PropertyDictionary{});
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

}  // namespace

ExifSummary addExifProperties(ByteView exif, PropertyDictionary& properties) {
  const auto directories = readExifDirectories(exif);
  if (!directories) return {};
  const bool tiff = hasReadableEntry(directories->first);
  const bool camera = hasReadableEntry(directories->exif);
  const bool gps = hasReadableEntry(directories->gps);
  if (tiff) properties.set(kTiff, PropertyDictionary{});
  if (directories->first.find(exif_tag::kMake) != nullptr) addNested(properties, kTiff, kTiffMake);
  if (directories->first.find(exif_tag::kModel) != nullptr) addNested(properties, kTiff, kTiffModel);
  if (camera) properties.set(kExif, PropertyDictionary{});
  if (gps) properties.set(kGps, PropertyDictionary{});
  addMakerNotes(*directories, properties);
  return {orientationIn(*directories), pixelsPerInch(*directories, exif_tag::kXResolution),
          pixelsPerInch(*directories, exif_tag::kYResolution), tiff || camera || gps};
}

void addIptcProperties(ByteView iptc, PropertyDictionary& properties) {
  if (beginsWithDataset(iptc)) properties.set(kIptc, PropertyDictionary{});
}

void addPacketProperties(ByteView packet, const XmpEngine& xmp, PropertyDictionary& properties) {
  if (packet.empty()) return;
  properties.set(kXmp, PropertyDictionary{});
  const PacketContents contents = xmp.contentsOf(packet);
  if (contents.position && !properties.contains(kGps)) properties.set(kGps, PropertyDictionary{});
  if (contents.make) addNested(properties, kTiff, kTiffMake);
  if (contents.model) addNested(properties, kTiff, kTiffModel);
  if (contents.makerNote) addNested(properties, kExif, kExifMakerNote);
}

}  // namespace quellor
