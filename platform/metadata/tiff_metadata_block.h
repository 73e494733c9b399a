#pragma once
#include <optional>

#include "platform/values/bytes.h"

namespace quellor {

/// An Exif block, in the byte order of the file, with the descriptive tags of a TIFF file's first directory (who, when,
/// with what, orientation and resolution; not the layout of its samples, nor the profile and the metadata blocks in
/// it) and all readable entries of its Exif and GPS directories.
///
/// A maker note is copied byte for byte to another place, so offsets in it that count from the beginning of the file
/// lose their meaning. Values of more bytes together than the file has are not taken.
///
/// Absent when there is nothing descriptive or `tiffFile` is no classic TIFF file.
std::optional<Bytes> exifBlockFromTiff(ByteView tiffFile);

}  // namespace quellor
