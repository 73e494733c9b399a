#pragma once
#include <cstdint>
#include <vector>

#include "platform/values/bytes.h"

/// TIFF files built byte by byte (TIFF 6.0; BigTIFF), so that a test can make any mistake in them that it needs.
namespace quellor::test_support {

enum class TiffType : std::uint16_t {
  byte = 1,
  ascii = 2,
  shortInteger = 3,
  longInteger = 4,
  rational = 5,
  undefined = 7
};

struct TiffEntry {
  std::uint16_t tag = 0;
  TiffType type = TiffType::shortInteger;
  std::vector<std::uint32_t> values;  // two for each rational
};

struct TiffPage {
  std::vector<TiffEntry> entries;  // without the places of the chunks
  std::vector<Bytes> chunks;       // strips or tiles
  bool tiled = false;
  std::vector<TiffPage> subdirectories;  // what the SubIFDs entry (330) points to

  /// Adds an entry or replaces the one with the same tag.
  TiffPage& set(TiffEntry entry);
};

struct TiffForm {
  bool bigEndian = false;
  bool bigTiff = false;
  bool samplesLast = false;  // the chunks stand behind the directories instead of before them, without subdirectories
  Bytes behindHeader = {};   // what stands between the header and everything else
};

/// A file of these pages.
Bytes tiffFile(std::vector<TiffPage> pages, TiffForm form = {});

/// A picture in the terms of the format. `values` holds all samples, pixel after pixel.
struct TiffPicture {
  std::uint32_t width = 1;
  std::uint32_t height = 1;
  std::uint16_t bits = 8;  // 1 to 32; rows begin on whole bytes
  std::uint16_t samples = 1;
  std::uint16_t photometric = 1;
  std::vector<std::uint32_t> extraSamples;
  bool separate = false;
  std::uint32_t tileSize = 0;  // 0: strips
  std::uint32_t rowsPerStrip = 2;
  std::vector<std::uint32_t> values;
};

/// The page of an uncompressed picture whose samples stand in the byte order of `form`.
TiffPage tiffPage(const TiffPicture& picture, TiffForm form = {});

/// The page of a picture of 1 or 8 bits with a single strip that the TIFF library compressed: `compression` is the
/// tag's value. JPEG strips hold their own tables, and YCbCr ones (photometric 6) are made from RGB values.
TiffPage compressedTiffPage(const TiffPicture& picture, std::uint16_t compression);

}  // namespace quellor::test_support
