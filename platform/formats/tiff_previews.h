#pragma once
#include "platform/formats/tiff_directories.h"
#include "platform/values/bytes.h"

/// Tells a TIFF file whose first picture is the photo from one that only shows a preview of it there.
///
/// Camera raw formats are TIFF files with the sensor's data somewhere and a picture for viewers in the first
/// directory. Who took that picture for the photo would throw the photo away.
namespace quellor::tiff {

/// Whether a file with a TIFF header has the mark of a raw format behind it.
bool hasRawFileMark(ByteView file);

/// Whether a directory says that its picture is a smaller copy of another one, a mask or something else than a
/// picture or page, or what it says cannot be read.
bool isReducedCopyOrMask(const metadata::TiffBlock& file, const metadata::TiffDirectory& directory);

/// Whether neither the directory nor its subdirectories hold sensor data, and the subdirectories nothing but smaller
/// copies of its picture, declared as such. False when one of them cannot be read.
bool isShownByItsOwnPicture(DirectoryReader& reader, const metadata::TiffDirectory& directory);

}  // namespace quellor::tiff
