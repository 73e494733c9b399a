#include "platform/metadata/exif_directories.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quellor::metadata {

namespace {

/// Reads directories of one block, each position once.
class DirectoryFinder {
 public:
  explicit DirectoryFinder(const TiffBlock& block) : block_(block) {}

  std::optional<TiffDirectory> at(std::optional<std::size_t> position) {
    if (!position || std::find(seen_.begin(), seen_.end(), *position) != seen_.end()) return std::nullopt;
    seen_.push_back(*position);
    return readTiffDirectory(block_, *position);
  }

  std::optional<TiffDirectory> pointedFrom(const std::optional<TiffDirectory>& directory, std::uint16_t tag) {
    const TiffEntry* pointer = directory ? directory->find(tag) : nullptr;
    return pointer == nullptr ? std::nullopt : at(pointedPosition(block_, *pointer));
  }

 private:
  TiffBlock block_;
  std::vector<std::size_t> seen_;
};

}  // namespace

std::optional<ExifDirectories> readExifDirectories(ByteView exif) {
  const auto header = readTiffHeader(exif);
  if (!header) return std::nullopt;
  DirectoryFinder finder(header->block);
  const auto first = finder.at(positionOfOffset(header->block, header->firstDirectoryOffset));
  if (!first) return std::nullopt;

  ExifDirectories found{header->block, *first, {}, {}, {}, {}};
  found.exif = finder.pointedFrom(first, exif_tag::kExifPointer);
  found.gps = finder.pointedFrom(first, exif_tag::kGpsPointer);
  if (!found.gps) found.gps = finder.pointedFrom(found.exif, exif_tag::kGpsPointer);
  found.interoperability = finder.pointedFrom(found.exif, exif_tag::kInteroperabilityPointer);
  if (first->nextOffset != 0) found.thumbnail = finder.at(positionOfOffset(found.block, first->nextOffset));
  return found;
}

}  // namespace quellor::metadata
