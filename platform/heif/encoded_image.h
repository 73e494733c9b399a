#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/heif/item_properties.h"
#include "platform/heif/output_file.h"
#include "platform/values/color.h"

namespace quellor::heif {

/// What an HEVC encoder made of one picture.
struct EncodedPicture {
  Bytes configuration;  // a whole `hvcC` box
  Bytes data;           // NAL units behind lengths of four bytes, without parameter sets
};

/// Pictures of one size, row by row: one, or the tiles of a grid.
using EncodedTiles = std::vector<EncodedPicture>;

/// An image as it is to stand in a file.
struct EncodedImage {
  ImageSize size;
  /// Of the whole, no less than `size`: what lies to the right of and below that is cut away.
  ImageSize codedSize;
  ImageSize tileSize;  // of each picture; `codedSize` where there is one
  std::uint32_t columns = 1;
  std::uint32_t rows = 1;
  int bitsPerComponent = 8;
  bool grey = false;
  Cicp coding;
  EncodedTiles tiles;  // columns * rows
  std::optional<EncodedTiles> alpha;
  bool premultiplied = false;
};

/// A file whose primary image is this one, its alpha an auxiliary image. The file keeps the data.
OutputFile fileOf(EncodedImage image);

}  // namespace quellor::heif
