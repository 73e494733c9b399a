#pragma once
#include <cstddef>
#include <optional>
#include <vector>

#include "platform/values/bytes.h"

namespace quellor::png {

/// A PNG file without its image data.
struct FileParts {
  ByteView before;               // signature and chunks before the first IDAT
  std::vector<ByteView> behind;  // chunks behind the last IDAT that describe the image, each whole
  /// The image in the IDAT chunks, be it a frame of an animation or not, and one for every fcTL chunk behind it when
  /// there is an acTL chunk before it (PNG, third edition, 11.3.6). What acTL says of their number does not matter.
  std::size_t imageCount = 1;
};

/// Absent when the chunks do not reach from the signature to IEND or there is no uninterrupted run of image data
/// (PNG, third edition, 5.2, 5.3 and 5.6). Checksums, but for that of IEND, are not looked at, and neither is what
/// follows IEND.
std::optional<FileParts> splitAtImageData(ByteView file);

}  // namespace quellor::png
