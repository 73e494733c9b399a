#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/values/bytes.h"

/// Directories of classic TIFF structures (TIFF 6.0, section 2), the form of Exif blocks and of most maker notes.
///
/// The readers report where every entry and value stands in the block, so that a block can be edited in place.
/// They follow no chain: each call reads one directory, so a cyclic or overlapping structure cannot make them loop.
namespace quellor::metadata {

enum class ByteOrder : std::uint8_t { littleEndian, bigEndian };

/// Field types (TIFF 6.0, section 2, "Types"); `ifd` comes from TIFF Technical Note 1 and is a LONG that points, the
/// three of 8 bytes come from BigTIFF and stand in some maker notes.
enum class TiffType : std::uint16_t {
  byte = 1,
  ascii = 2,
  shortInteger = 3,
  longInteger = 4,
  rational = 5,
  signedByte = 6,
  undefined = 7,
  signedShort = 8,
  signedLong = 9,
  signedRational = 10,
  floatNumber = 11,
  doubleNumber = 12,
  ifd = 13,
  long8 = 16,
  signedLong8 = 17,
  ifd8 = 18,
};

/// Bytes that one value of the type takes: 0 for a number that is no type.
std::size_t tiffTypeSize(std::uint16_t type);

/// A block with what is needed to read its directories. Offsets in the block count from `base`, positions that the
/// readers give and take count from the block's first byte.
struct TiffBlock {
  ByteView bytes;
  ByteOrder order = ByteOrder::littleEndian;
  std::size_t base = 0;  // not beyond the end of `bytes`
};

/// One directory entry. Its 12 bytes always lie inside the block; its value does only when `valueReadable`.
struct TiffEntry {
  std::uint16_t tag = 0;
  std::uint16_t type = 0;  // as stored, perhaps no TiffType
  std::uint32_t count = 0;
  std::size_t position = 0;  // of the entry
  /// The type is known and all `count` values lie inside the block. The two that follow are 0 otherwise.
  bool valueReadable = false;
  std::size_t valuePosition = 0;  // inside the entry for values of 4 bytes and less
  std::size_t valueSize = 0;      // in bytes

  /// Whether the value stands elsewhere than in the entry.
  [[nodiscard]] bool standsOutside() const { return valueReadable && valuePosition != position + 8; }
};

struct TiffDirectory {
  std::size_t position = 0;  // of the entry count
  std::vector<TiffEntry> entries;
  bool complete = true;          // false when the block ends before the promised entries do
  std::uint32_t nextOffset = 0;  // of the next directory, from the block's base; 0 when there is none

  /// The first readable entry with the tag, or null.
  [[nodiscard]] const TiffEntry* find(std::uint16_t tag) const;
};

/// The 16 or 32 bits at `position`, absent when they are not all inside the block.
std::optional<std::uint16_t> readU16(const TiffBlock& block, std::size_t position);
std::optional<std::uint32_t> readU32(const TiffBlock& block, std::size_t position);

/// The unsigned number that `bytes` (8 at most) spell.
std::uint64_t readUnsigned(ByteView bytes, ByteOrder order);

/// The order that "II" or "MM" at `position` stands for, else absent.
std::optional<ByteOrder> readByteOrderMark(ByteView bytes, std::size_t position);

/// A structure that starts at `position` with a TIFF header: its order and base, and the offset of its first
/// directory. Absent when no classic TIFF header is there (BigTIFF is none).
struct TiffHeader {
  TiffBlock block;
  std::uint32_t firstDirectoryOffset = 0;
};
std::optional<TiffHeader> readTiffHeader(ByteView bytes, std::size_t position = 0);

/// The position in the block that an offset means, absent when it lies behind the last byte.
std::optional<std::size_t> positionOfOffset(const TiffBlock& block, std::uint32_t offset);

/// The directory at `position`, absent when not even its entry count is inside the block.
std::optional<TiffDirectory> readTiffDirectory(const TiffBlock& block, std::size_t position);

/// The bytes of a readable value.
ByteView valueBytes(const TiffBlock& block, const TiffEntry& entry);

/// Where the directory stands that `entry`, exactly one integer, points to. Absent when it is no such entry. The
/// standard wants a LONG or an IFD; readers follow every integer.
std::optional<std::size_t> pointedPosition(const TiffBlock& block, const TiffEntry& entry);

/// The value of an entry that holds exactly one integer, of whichever type, from 0 to 2^32 - 1; else absent.
std::optional<std::uint32_t> unsignedValue(const TiffBlock& block, const TiffEntry& entry);

}  // namespace quellor::metadata
