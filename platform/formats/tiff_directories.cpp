#include "platform/formats/tiff_directories.h"

#include <utility>

#include "platform/formats/tiff_previews.h"

namespace quellor::tiff {
namespace {

using metadata::TiffDirectory;
using metadata::TiffEntry;

constexpr std::size_t kMaximumDirectories = std::size_t{1} << 20;

}  // namespace

std::optional<TiffDirectory> DirectoryReader::read(std::uint32_t offset) {
  if (seen_.size() == kMaximumDirectories || !seen_.insert(offset).second) return std::nullopt;
  const auto position = metadata::positionOfOffset(file_, offset);
  const auto entryCount = position ? metadata::readU16(file_, *position) : std::nullopt;
  if (!entryCount || *entryCount == 0 || *entryCount > entriesLeft_) return std::nullopt;
  entriesLeft_ -= *entryCount;
  auto directory = metadata::readTiffDirectory(file_, *position);
  const std::size_t nextOffsetPosition = *position + 2 + std::size_t{*entryCount} * 12;
  if (!directory || !metadata::readU32(file_, nextOffsetPosition)) return std::nullopt;
  return directory;
}

std::optional<Directories> Directories::read(ByteView file) {
  const auto header = metadata::readTiffHeader(file);
  if (!header || hasRawFileMark(file)) return std::nullopt;
  Directories directories(header->block);
  DirectoryReader reader(header->block);
  std::uint32_t offset = header->firstDirectoryOffset;
  do {
    auto directory = reader.read(offset);
    if (!directory || !isShownByItsOwnPicture(reader, *directory)) return std::nullopt;
    offset = directory->nextOffset;
    if (directories.count_++ != 0) continue;
    if (isReducedCopyOrMask(header->block, *directory)) return std::nullopt;
    directories.first_ = std::move(*directory);
  } while (offset != 0);
  return directories;
}

std::optional<ByteView> Directories::bytes(std::uint16_t tag) const {
  const TiffEntry* const entry = first_.find(tag);
  if (entry == nullptr || entry->valueSize == 0) return std::nullopt;
  return metadata::valueBytes(file_, *entry);
}

std::optional<std::uint32_t> Directories::integer(std::uint16_t tag) const {
  const TiffEntry* const entry = first_.find(tag);
  return entry == nullptr ? std::nullopt : metadata::unsignedValue(file_, *entry);
}

std::optional<double> Directories::rational(std::uint16_t tag) const {
  const TiffEntry* const entry = first_.find(tag);
  const bool single =
      entry != nullptr && entry->count == 1 && entry->type == static_cast<std::uint16_t>(metadata::TiffType::rational);
  if (!single) return std::nullopt;
  const ByteView value = metadata::valueBytes(file_, *entry);
  const std::uint64_t denominator = metadata::readUnsigned(value.subspan(4), file_.order);
  if (denominator == 0) return std::nullopt;
  return static_cast<double>(metadata::readUnsigned(value.first(4), file_.order)) / static_cast<double>(denominator);
}

}  // namespace quellor::tiff
