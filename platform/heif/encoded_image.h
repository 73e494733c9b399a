#pragma once
#include <optional>

#include "platform/heif/item_properties.h"
#include "platform/heif/output_file.h"
#include "platform/values/color.h"

namespace quellor::heif {

/// What an HEVC encoder made of one picture.
struct EncodedPicture {
  Bytes configuration;  // a whole `hvcC` box
  Bytes data;           // NAL units behind lengths of four bytes, without parameter sets
};

/// An image as it is to stand in a file.
struct EncodedImage {
  ImageSize size;
  ImageSize codedSize;  // of both pictures, no less than `size`: what lies to the right of and below that is cut away
  int bitsPerComponent = 8;
  bool grey = false;
  Cicp coding;
  EncodedPicture picture;
  std::optional<EncodedPicture> alpha;
  bool premultiplied = false;
};

/// A file whose primary image is this one, its alpha an auxiliary image. The file keeps the data.
OutputFile fileOf(EncodedImage image);

}  // namespace quellor::heif
