#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/values/bytes.h"
#include "tests/support/jpeg_fixture.h"

/// Makes multi-picture JPEG files (CIPA DC-007) for tests.
namespace quellor::test_support {

/// An entry of the index besides that of the first image.
struct MultiPictureEntry {
  std::uint32_t attributes = 0;                        // flags and, in the lower 24 bits, the kind
  Bytes image;                                         // placed behind all images before it
  std::optional<std::uint32_t> offset = std::nullopt;  // another one than that of the image
};

struct MultiPictureForm {
  bool bigEndian = false;
  std::vector<JpegSpec::Segment> segmentsBehind = {};  // of the first image, behind the index
};

/// A first image with an index of itself and of these, then the images.
Bytes multiPictureJpeg(const std::vector<MultiPictureEntry>& entries, const MultiPictureForm& form = {});

/// The payload of an index segment.
Bytes multiPictureIndex(const std::vector<MultiPictureEntry>& entries, std::uint32_t firstSize, bool bigEndian);

/// The offset in the file from which the index counts: that of the TIFF header behind its name.
std::size_t multiPictureBase(ByteView file);

}  // namespace quellor::test_support
