#include "platform/metadata/exif_directories.h"

#include <algorithm>
#include <utility>

#include "platform/metadata/tiff_writing.h"

namespace quellor::metadata {

namespace {

/// A link may lead anywhere; what stands there counts as a directory only when most of it reads as one.
bool isPlausible(const TiffDirectory& directory) {
  const auto readable = std::count_if(directory.entries.begin(), directory.entries.end(),
                                      [](const TiffEntry& entry) { return entry.valueReadable; });
  return directory.complete && static_cast<std::size_t>(readable) * 2 >= directory.entries.size();
}

/// Reads directories of one block, each position once.
class DirectoryFinder {
 public:
  explicit DirectoryFinder(const TiffBlock& block) : block_(block) {}

  /// Nothing is read twice, and the header is no directory: an offset of 0 is what some writers put for "none".
  std::optional<TiffDirectory> at(std::optional<std::size_t> position) {
    if (!position || *position < kTiffHeaderSize) return std::nullopt;
    if (std::find(seen_.begin(), seen_.end(), *position) != seen_.end()) return std::nullopt;
    seen_.push_back(*position);
    return readTiffDirectory(block_, *position);
  }

  /// Adds the directories that entries of `directory` with the tag point to.
  void addPointed(const TiffDirectory& directory, std::uint16_t tag, std::vector<TiffDirectory>& found) {
    for (const TiffEntry& entry : directory.entries) {
      if (entry.tag != tag || found.size() == kMaximumExifDirectories) continue;
      if (auto pointed = at(pointedPosition(block_, entry))) found.push_back(std::move(*pointed));
    }
  }

  /// The directories behind `first` in the chain of links, each followed by those that it points to.
  std::vector<TiffDirectory> linkedFrom(const TiffDirectory& first) {
    std::vector<TiffDirectory> found;
    std::uint32_t offset = hasLink(block_, first) ? first.nextOffset : 0;
    for (std::size_t i = 0; i < kMaximumExifDirectories && offset != 0; ++i) {
      const auto next = at(positionOfOffset(block_, offset));
      if (!next || !isPlausible(*next)) break;
      found.push_back(*next);
      addPointed(*next, exif_tag::kExifPointer, found);
      addPointed(*next, exif_tag::kGpsPointer, found);
      offset = next->nextOffset;
    }
    return found;
  }

 private:
  TiffBlock block_;
  std::vector<std::size_t> seen_;
};

}  // namespace

bool hasLink(const TiffBlock& block, const TiffDirectory& directory) {
  const std::size_t link = directory.position + tiffDirectorySize(directory.entries.size());
  if (!directory.complete || block.bytes.size() - link < kTiffLinkSize) return false;
  return std::none_of(directory.entries.begin(), directory.entries.end(), [link](const TiffEntry& entry) {
    return entry.standsOutside() && entry.valuePosition < link + kTiffLinkSize &&
           link < entry.valuePosition + entry.valueSize;
  });
}

std::optional<ExifDirectories> readExifDirectories(ByteView exif) {
  const auto header = readTiffHeader(exif);
  if (!header) return std::nullopt;
  DirectoryFinder finder(header->block);
  auto first = finder.at(positionOfOffset(header->block, header->firstDirectoryOffset));
  if (!first) return std::nullopt;

  ExifDirectories found{header->block, std::move(*first), {}, {}, {}, {}};
  finder.addPointed(found.first, exif_tag::kExifPointer, found.exif);
  finder.addPointed(found.first, exif_tag::kGpsPointer, found.gps);
  for (const TiffDirectory& each : found.exif) finder.addPointed(each, exif_tag::kGpsPointer, found.gps);
  for (const TiffDirectory& each : found.exif) {
    finder.addPointed(each, exif_tag::kInteroperabilityPointer, found.interoperability);
  }
  found.thumbnails = finder.linkedFrom(found.first);
  return found;
}

}  // namespace quellor::metadata
