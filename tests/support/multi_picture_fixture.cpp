#include "tests/support/multi_picture_fixture.h"

#include "tests/support/byte_texts.h"
#include "tests/support/tiff_structure.h"

namespace quellor::test_support {
namespace {

constexpr int kApp2 = 0xE2;
constexpr std::uint32_t kPrimary = 0x20030000;  // the representative image, of the kind "baseline primary"

Bytes indexName() { return {'M', 'P', 'F', 0}; }

/// The first image; its index has the entries as they are given, 0 for what the caller leaves open.
Bytes firstImage(const std::vector<MultiPictureEntry>& entries, std::uint32_t size, const MultiPictureForm& form) {
  JpegSpec spec;
  spec.segments = {{kApp2, multiPictureIndex(entries, size, form.bigEndian)}};
  spec.segments.insert(spec.segments.end(), form.segmentsBehind.begin(), form.segmentsBehind.end());
  return encodeJpeg(spec);
}

}  // namespace

Bytes multiPictureIndex(const std::vector<MultiPictureEntry>& entries, std::uint32_t firstSize, bool bigEndian) {
  TiffStructure structure(bigEndian);
  const auto entry = [&](std::uint32_t attributes, std::uint32_t size, std::uint32_t offset) {
    return TiffStructure::joined({structure.number(attributes, 4), structure.number(size, 4),
                                  structure.number(offset, 4), structure.number(0, 4)});
  };
  Bytes list = entry(kPrimary, firstSize, 0);
  for (const MultiPictureEntry& each : entries) {
    const Bytes more = entry(each.attributes, static_cast<std::uint32_t>(each.image.size()), each.offset.value_or(0));
    list.insert(list.end(), more.begin(), more.end());
  }
  const auto count = static_cast<std::uint32_t>(entries.size() + 1);
  structure.directory({TiffStructure::undefinedEntry(0xB000, bytesOf("0100")), structure.longEntry(0xB001, count),
                       TiffStructure::undefinedEntry(0xB002, list)});
  return TiffStructure::joined({indexName(), structure.bytes()});
}

Bytes multiPictureJpeg(const std::vector<MultiPictureEntry>& entries, const MultiPictureForm& form) {
  // The numbers of the index do not change its size: a first round tells where the images will stand.
  const Bytes trial = firstImage(entries, 0, form);
  const std::size_t base = multiPictureBase(trial);
  std::vector<MultiPictureEntry> placed = entries;
  std::size_t offset = trial.size() - base;
  for (MultiPictureEntry& entry : placed) {
    if (!entry.offset) entry.offset = static_cast<std::uint32_t>(offset);
    offset += entry.image.size();
  }
  Bytes file = firstImage(placed, static_cast<std::uint32_t>(trial.size()), form);
  for (const MultiPictureEntry& entry : placed) file.insert(file.end(), entry.image.begin(), entry.image.end());
  return file;
}

std::size_t multiPictureBase(ByteView file) { return firstPlaceOf(indexName(), file) + indexName().size(); }

}  // namespace quellor::test_support
