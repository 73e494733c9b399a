#include "storage/raw_pixel_file.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace quellor {
namespace {

std::uint32_t unsigned32(std::int64_t size) {
  if (size < 0 || size > std::int64_t{std::numeric_limits<std::uint32_t>::max()}) std::abort();
  return static_cast<std::uint32_t>(size);
}

std::uint8_t* putLittleEndian(std::uint32_t value, std::uint8_t* place) {
  for (int shift = 0; shift < 32; shift += 8) *place++ = static_cast<std::uint8_t>(value >> shift);
  return place;
}

}  // namespace

RawFileHeader rawFileHeader(std::int64_t width, std::int64_t height) {
  RawFileHeader header{};
  std::uint8_t* place = std::copy(rawFileMagic.begin(), rawFileMagic.end(), header.data());
  *place++ = rawFileVersion;
  place = putLittleEndian(unsigned32(width), place);
  place = putLittleEndian(unsigned32(height), place);
  *place++ = rawFileBytesPerPixel;
  *place = rawFileOrientationApplied;
  return header;
}

void writeStorageRawFile(const FileManager& files, const std::string& path, ByteView pixels, std::int64_t width,
                         std::int64_t height) {
  const RawFileHeader header = rawFileHeader(width, height);
  const std::array<ByteView, 2> parts = {ByteView(header), pixels};
  files.writeAtomically(path, parts);
}

}  // namespace quellor
