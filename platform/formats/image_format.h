#pragma once
#include "platform/values/bytes.h"
#include "platform/values/image_facts.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor {

/// What is known of an image once it has been found whole.
struct Look {
  RasterShape shape;
  /// The samples, where it took a decoding to know that: there is no other way for some formats.
  std::optional<Raster> raster;
};

/// The look that a decoding is, for formats and files that have no cheaper one.
Outcome<Look> lookFrom(Outcome<Raster> decoded);

/// How the files of one format are read. What comes out is plain data, never a library's handle; all is free of state.
struct ImageFormat {
  const char* name = nullptr;  // for tests and messages: "HEIF"

  /// Absent when the file's structure is broken or memory runs out. `file` is the whole file.
  Outcome<ImageFacts> (*describe)(ByteView file) = nullptr;

  /// Whether the primary image is whole, found out in the cheapest way: absent wherever decode() would be but for want
  /// of memory, since every coded sample is read, if not reconstructed (for what is made to deceive, see png_look.cpp).
  /// Raises MissingModule where only a decoder can tell.
  Outcome<Look> (*look)(ByteView file) = nullptr;

  /// The primary image's samples. Absent when any coded sample is missing, damaged or concealed, or when the memory for
  /// it cannot be had. Raises MissingModule.
  Outcome<Raster> (*decode)(ByteView file) = nullptr;
};

/// The format that a file with these first bytes claims to be of, or null. A few hundred bytes are enough. The name of
/// a file has no say.
const ImageFormat* formatOf(ByteView head);

}  // namespace quellor

/// What the formats define, each in its own file: describe(), look() and decode() of ImageFormat, but throwing
/// std::bad_alloc. A format without a look of its own has to decode.
namespace quellor::formats {

Outcome<ImageFacts> describeGif(ByteView file);
Outcome<Raster> decodeGif(ByteView file);

Outcome<ImageFacts> describeHeif(ByteView file);
Outcome<Look> lookAtHeif(ByteView file);
Outcome<Raster> decodeHeif(ByteView file);

Outcome<ImageFacts> describeJpeg(ByteView file);
Outcome<Look> lookAtJpeg(ByteView file);
Outcome<Raster> decodeJpeg(ByteView file);

Outcome<ImageFacts> describePng(ByteView file);
Outcome<Look> lookAtPng(ByteView file);
Outcome<Raster> decodePng(ByteView file);

Outcome<ImageFacts> describeTiff(ByteView file);
Outcome<Raster> decodeTiff(ByteView file);

Outcome<ImageFacts> describeWebp(ByteView file);
Outcome<Raster> decodeWebp(ByteView file);

}  // namespace quellor::formats
