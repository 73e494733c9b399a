#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/metadata/tiff_directory.h"

namespace quellor::metadata {

/// Tags that point to other directories, structure a block, or hold what a removal may ask for (Exif 2.32, 4.6.3; TIFF
/// 6.0; DNG 1.6, chapter 4).
namespace exif_tag {
inline constexpr std::uint16_t kMake = 0x010F;
inline constexpr std::uint16_t kModel = 0x0110;
inline constexpr std::uint16_t kOrientation = 0x0112;
inline constexpr std::uint16_t kXResolution = 0x011A;
inline constexpr std::uint16_t kYResolution = 0x011B;
inline constexpr std::uint16_t kResolutionUnit = 0x0128;
inline constexpr std::uint16_t kSubIfds = 0x014A;             // TIFF Technical Note 1
inline constexpr std::uint16_t kXmp = 0x02BC;                 // ISO 16684-3, TIFF
inline constexpr std::uint16_t kPhotoshopResources = 0x8649;  // may hold an Exif block and a packet of their own
inline constexpr std::uint16_t kExifPointer = 0x8769;
inline constexpr std::uint16_t kGpsPointer = 0x8825;
inline constexpr std::uint16_t kMakerNote = 0x927C;
inline constexpr std::uint16_t kInteroperabilityPointer = 0xA005;
inline constexpr std::uint16_t kUniqueCameraModel = 0xC614;
inline constexpr std::uint16_t kLocalizedCameraModel = 0xC615;
inline constexpr std::uint16_t kDngPrivateData = 0xC634;  // holds the maker note of a converted raw file

constexpr bool isPointer(std::uint16_t tag) {
  return tag == kExifPointer || tag == kGpsPointer || tag == kInteroperabilityPointer;
}
}  // namespace exif_tag

/// The directories of an Exif block or a classic TIFF file. A block in order has one of a kind; where several pointers
/// or links lead to directories, all are here in that order, up to kMaximumExifDirectories of a kind. No two stand at
/// the same position: of those that would, the first in the order of the members counts.
struct ExifDirectories {
  TiffBlock block;
  TiffDirectory first;                          // IFD0
  std::vector<TiffDirectory> exif;              // pointed to from `first`
  std::vector<TiffDirectory> gps;               // pointed to from `first` and `exif`
  std::vector<TiffDirectory> interoperability;  // pointed to from `exif`
  std::vector<TiffDirectory> thumbnails;        // IFD1, what it points to, and what the links lead to from there
};

inline constexpr std::size_t kMaximumExifDirectories = 8;

/// Absent when the bytes do not begin with a classic TIFF header or its first directory is not inside them.
std::optional<ExifDirectories> readExifDirectories(ByteView exif);

/// Whether the link to the next directory is there: it is not where the block ends before it, nor where the
/// directory's own values begin in its place, as some writers have them.
bool hasLink(const TiffBlock& block, const TiffDirectory& directory);

}  // namespace quellor::metadata
