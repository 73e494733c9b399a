#pragma once
#include <cstddef>

#include "platform/values/bytes.h"

namespace quellor::jpeg {

/// How many pictures a multi-picture file holds (CIPA DC-007, Multi-Picture Format): the one that every viewer shows,
/// and those of its index that are JPEG images inside the file and pictures of their own. Large thumbnails and gain
/// maps are none, nor is what the indexes of other images say.
///
/// `extension` is the APP2 segment's payload behind "MPF\0", inside `file`: a TIFF structure from whose first byte
/// offsets count. 1 when it is broken.
std::size_t countPictures(ByteView file, ByteView extension);

}  // namespace quellor::jpeg
