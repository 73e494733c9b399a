#pragma once
#include "platform/values/bytes.h"
#include "platform/values/image_facts.h"
#include "platform/values/outcome.h"
#include "platform/values/raster.h"

namespace quellor {

/// How the files of one format are read. What comes out is plain data, never a library's handle; all is free of state.
struct ImageFormat {
  const char* name = nullptr;  // for tests and messages: "HEIF"

  /// Absent when the file's structure is broken or memory runs out. `file` is the whole file.
  Outcome<ImageFacts> (*describe)(ByteView file) = nullptr;

  /// The primary image's samples. Absent when any coded sample is missing, damaged or concealed, or when the memory for
  /// it cannot be had. Raises MissingModule.
  Outcome<Raster> (*decode)(ByteView file) = nullptr;
};

/// The format that a file with these first bytes claims to be of, or null. A few hundred bytes are enough. The name of
/// a file has no say.
const ImageFormat* formatOf(ByteView head);

}  // namespace quellor

/// What the formats define, each in its own file: describe() and decode() of ImageFormat, but throwing std::bad_alloc.
namespace quellor::formats {

Outcome<ImageFacts> describeGif(ByteView file);
Outcome<Raster> decodeGif(ByteView file);

Outcome<ImageFacts> describeHeif(ByteView file);
Outcome<Raster> decodeHeif(ByteView file);

Outcome<ImageFacts> describeJpeg(ByteView file);
Outcome<Raster> decodeJpeg(ByteView file);

Outcome<ImageFacts> describePng(ByteView file);
Outcome<Raster> decodePng(ByteView file);

Outcome<ImageFacts> describeTiff(ByteView file);
Outcome<Raster> decodeTiff(ByteView file);

Outcome<ImageFacts> describeWebp(ByteView file);
Outcome<Raster> decodeWebp(ByteView file);

}  // namespace quellor::formats
