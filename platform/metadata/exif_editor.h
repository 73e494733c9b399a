#pragma once
#include <cstdint>
#include <optional>
#include <set>

#include "platform/metadata/exif_directories.h"

namespace quellor::metadata {

/// What is to change in an Exif block.
struct ExifEdit {
  std::set<std::uint16_t> firstTags;  // go from the first directory, all entries with the tag
  std::set<std::uint16_t> exifTags;   // go from the Exif directory
  bool removeGps = false;             // the GPS directory, wherever its pointer stands
  std::optional<int> orientation;     // 1 to 8; absent leaves a tag as it is
};

/// The block with the edit made in place: no value moves, because maker notes hold offsets that count from the block.
///
/// Entries that stay move up inside their directory. What goes is overwritten with zeros: its entry, its value and,
/// for GPS and the thumbnail directories (IFD1 and those behind it, which always go), the directory with everything
/// that only it refers to. Bytes that another entry or directory uses as well stay. So do bytes that nothing is known
/// to refer to, because they may be a maker note's; they go with the maker note, unless one of the entries left may
/// refer to them. Zeros that this leaves at the end of the block are cut off. An orientation that the first directory
/// has no entry for takes the room of a removed entry, or the directory is written anew at the end of the block.
///
/// Absent when no entry is left in the first directory, or when a directory written anew would not fit.
std::optional<Bytes> editedExif(const ExifDirectories& directories, const ExifEdit& edit);

/// A block that holds nothing but an orientation.
Bytes exifOrientationBlock(int orientation);

}  // namespace quellor::metadata
