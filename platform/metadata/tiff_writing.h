#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/metadata/tiff_directory.h"

/// Writing into TIFF structures (TIFF 6.0, section 2). Callers see to it that what they write lies inside the block.
namespace quellor::metadata {

inline constexpr std::size_t kTiffHeaderSize = 8;
inline constexpr std::size_t kTiffEntrySize = 12;
inline constexpr std::size_t kTiffValueInEntry = 8;  // where the value, or its offset, stands in an entry
inline constexpr std::size_t kTiffLinkSize = 4;
inline constexpr std::size_t kTiffMaximumEntries = 0xFFFF;

/// A directory entry as stored.
using RawTiffEntry = std::array<std::uint8_t, kTiffEntrySize>;

/// Bytes of a directory of `entries` entries, without the link to the next one.
constexpr std::size_t tiffDirectorySize(std::size_t entries) { return 2 + entries * kTiffEntrySize; }

/// Writes the lowest `size` bytes of `number` at `position`.
void writeUnsigned(Bytes& block, std::size_t position, std::uint64_t number, std::size_t size, ByteOrder order);

/// The same bytes by themselves.
Bytes unsignedBytes(std::uint64_t number, std::size_t size, ByteOrder order);

/// An entry of `count` values; `value` is they themselves where they take no more than 4 bytes, else their offset.
RawTiffEntry tiffEntry(std::uint16_t tag, TiffType type, std::uint32_t count, ByteView value, ByteOrder order);

/// An entry with one SHORT.
RawTiffEntry shortTiffEntry(std::uint16_t tag, std::uint16_t value, ByteOrder order);

std::uint16_t tagOf(const RawTiffEntry& entry, ByteOrder order);

/// Writes entry count and entries at `position`, and behind them the link where there is one to be written.
void writeTiffDirectory(Bytes& block, std::size_t position, const std::vector<RawTiffEntry>& entries,
                        std::optional<std::uint32_t> link, ByteOrder order);

}  // namespace quellor::metadata
