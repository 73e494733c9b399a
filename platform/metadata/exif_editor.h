#pragma once
#include <optional>

#include "platform/metadata/exif_directories.h"
#include "platform/metadata/metadata_removals.h"

namespace quellor::metadata {

/// What is to change in an Exif block. `removals.packet` means the copy of a packet in the first directory.
struct ExifEdit {
  MetadataRemovals removals;
  std::optional<int> orientation;  // 1 to 8; absent leaves a tag as it is
};

/// The block with the edit made in place: no value moves, because maker notes hold offsets that count from the block.
///
/// Entries that stay move up inside their directory. The thumbnail directories (IFD1 and those behind it) always go,
/// with everything that only they refer to. An orientation that the first directory has no entry for takes the room of
/// a removed entry, or the directory is written anew at the end of the block.
///
/// When something is removed, what is left is known to the last byte: the header, directories, values of their entries,
/// and what a maker note that stays refers to. Everything else becomes zeros, whether or not anything leads there, and
/// is cut off at the end of the block. Entries go from whichever directory they stand in, together with those that may
/// hold a copy (Photoshop resources, private raw data, directories of unknown purpose) and those that cannot be read.
/// When nothing is removed, bytes that nothing is known to refer to stay, because they may be a maker note's.
///
/// Absent when no entry is left in the first directory, when what goes is also part of what stays, when the parts of
/// the block overlap so that the edit would damage one that stays, or when a directory written anew would not fit.
std::optional<Bytes> editedExif(const ExifDirectories& directories, const ExifEdit& edit);

/// A block that holds nothing but an orientation.
Bytes exifOrientationBlock(int orientation);

}  // namespace quellor::metadata
