#pragma once
#include <optional>
#include <string_view>

#include "platform/values/bytes.h"

namespace quellor {

/// What a JPEG segment with an XMP packet begins with (XMP part 3, 1.1.3). Some writers copy it to other places, too.
inline constexpr std::string_view kXmpSegmentName{"http://ns.adobe.com/xap/1.0/\0", 29};

/// The metadata blocks of one image as they stand in its file.
///
/// `exif` is a TIFF structure (TIFF 6.0, section 2; Exif 2.32, 4.5.2) that begins with its byte-order mark, without
/// the "Exif\0\0" prefix of JPEG or the header offset of HEIF. `xmp` is the serialised packet. `iptc` is a run of
/// IPTC-IIM datasets.
struct MetadataBlocks {
  std::optional<Bytes> exif;
  std::optional<Bytes> xmp;
  std::optional<Bytes> iptc;
};

}  // namespace quellor
