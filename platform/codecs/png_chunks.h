#pragma once
#include <optional>
#include <vector>

#include "platform/bytes.h"

namespace quellor::png {

/// A PNG file without its image data.
struct FileParts {
  ByteView before;               // signature and chunks before the first IDAT
  std::vector<ByteView> behind;  // chunks behind the last IDAT that describe the image, each whole
};

/// Absent when the chunks do not reach from the signature to IEND or there is no uninterrupted run of image data
/// (PNG, third edition, 5.2, 5.3 and 5.6). Checksums, but for that of IEND, are not looked at, and neither is what
/// follows IEND.
std::optional<FileParts> splitAtImageData(ByteView file);

}  // namespace quellor::png
