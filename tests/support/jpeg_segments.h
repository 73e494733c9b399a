#pragma once
#include <string_view>

#include "tests/support/byte_texts.h"
#include "tests/support/jpeg_fixture.h"

/// Segments of a JPEG file that hold metadata.
namespace quellor::test_support {

/// Exif 2.32, 4.7.2.
inline JpegSpec::Segment exifSegment(const Bytes& tiff) {
  return {0xE1, bytesOf(std::string_view("Exif\0\0", 6), tiff)};
}

/// XMP part 3, 1.1.3.
inline JpegSpec::Segment packetSegment(std::string_view packet) {
  return {0xE1, bytesOf(std::string_view("http://ns.adobe.com/xap/1.0/\0", 29), bytesOf(packet))};
}

/// A Photoshop resource with datasets of fewer than 256 bytes.
inline JpegSpec::Segment iptcSegment(const Bytes& datasets) {
  Bytes resource =
      bytesOf(std::string_view("Photoshop 3.0\0"
                               "8BIM\4\4\0\0\0\0\0",
                               25));
  resource.push_back(static_cast<std::uint8_t>(datasets.size()));
  resource.insert(resource.end(), datasets.begin(), datasets.end());
  if (datasets.size() % 2 != 0) resource.push_back(0);
  return {0xED, resource};
}

/// ICC.1:2010, B.4: the whole profile in one segment.
inline JpegSpec::Segment profileSegment(const Bytes& profile) {
  return {0xE2, bytesOf(std::string_view("ICC_PROFILE\0\1\1", 14), profile)};
}

}  // namespace quellor::test_support
