#pragma once
#include <cstdint>
#include <optional>

#include "platform/metadata/tiff_directory.h"

namespace quellor::metadata {

/// Tags that point to other directories or structure a block (Exif 2.32, 4.6.3; tags of TIFF 6.0).
namespace exif_tag {
inline constexpr std::uint16_t kMake = 0x010F;
inline constexpr std::uint16_t kModel = 0x0110;
inline constexpr std::uint16_t kOrientation = 0x0112;
inline constexpr std::uint16_t kXResolution = 0x011A;
inline constexpr std::uint16_t kYResolution = 0x011B;
inline constexpr std::uint16_t kResolutionUnit = 0x0128;
inline constexpr std::uint16_t kSubIfds = 0x014A;  // TIFF Technical Note 1
inline constexpr std::uint16_t kXmp = 0x02BC;      // ISO 16684-3, TIFF
inline constexpr std::uint16_t kExifPointer = 0x8769;
inline constexpr std::uint16_t kGpsPointer = 0x8825;
inline constexpr std::uint16_t kMakerNote = 0x927C;
inline constexpr std::uint16_t kInteroperabilityPointer = 0xA005;

constexpr bool isPointer(std::uint16_t tag) {
  return tag == kExifPointer || tag == kGpsPointer || tag == kInteroperabilityPointer;
}
}  // namespace exif_tag

/// The directories of an Exif block or a classic TIFF file. No two of them stand at the same position: of those that
/// would, the first in the order of the members counts.
struct ExifDirectories {
  TiffBlock block;
  TiffDirectory first;  // IFD0
  std::optional<TiffDirectory> exif;
  std::optional<TiffDirectory> gps;  // found in the Exif directory where the first one has no pointer to it
  std::optional<TiffDirectory> interoperability;
  std::optional<TiffDirectory> thumbnail;  // IFD1
};

/// Absent when the bytes do not begin with a classic TIFF header or its first directory is not inside them.
std::optional<ExifDirectories> readExifDirectories(ByteView exif);

}  // namespace quellor::metadata
