#pragma once
#include <array>
#include <cstdint>
#include <string>

#include "platform/file_manager.h"

/// The raw storage-pixel file: 15 bytes of header, then the pixels, and nothing after them. Integers are
/// little-endian.
///
///   offset  size  value
///        0     4  "RGBA"
///        4     1  version of the format: 1
///        5     4  width in pixels, unsigned
///        9     4  height in pixels, unsigned
///       13     1  bytes per pixel: 4
///       14     1  orientation applied: 0
///       15   ...  width * height pixels, rows from the top without padding; a pixel is red, green, blue and a fourth
///                 byte that is never 0
///
/// One red pixel beside a blue one, 2 x 1:
///
///   52 47 42 41  01  02 00 00 00  01 00 00 00  04  00  FF 00 00 FF  00 00 FF FF
namespace quellor {

inline constexpr std::array<std::uint8_t, 4> rawFileMagic = {'R', 'G', 'B', 'A'};
inline constexpr std::uint8_t rawFileVersion = 1;
inline constexpr std::uint8_t rawFileBytesPerPixel = 4;
inline constexpr std::uint8_t rawFileOrientationApplied = 0;
inline constexpr std::size_t rawFileHeaderBytes = rawFileMagic.size() + 1 + 4 + 4 + 1 + 1;

using RawFileHeader = std::array<std::uint8_t, rawFileHeaderBytes>;

/// Stops the process when a size does not fit an unsigned 32-bit integer.
RawFileHeader rawFileHeader(std::int64_t width, std::int64_t height);

/// Writes a raw file of that size with `pixels` as they are; how many there are is not checked. The file exists whole
/// or not at all, and replaces one that exists at `path` by then. Raises FileError.
void writeStorageRawFile(const FileManager& files, const std::string& path, ByteView pixels, std::int64_t width,
                         std::int64_t height);

}  // namespace quellor
