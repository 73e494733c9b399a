#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/values/bytes.h"

/// WebP files (RFC 9649): bitstreams by the library, everything around them byte by byte.
namespace quellor::test_support {

/// A picture of 8-bit red, green, blue, alpha for each pixel.
struct WebpPicture {
  std::uint32_t width = 1;
  std::uint32_t height = 1;
  std::vector<int> rgba;
};

/// The file of one picture. The lossless form keeps all samples; the lossy one keeps alpha, which it has only when a
/// pixel is not opaque.
Bytes losslessWebp(const WebpPicture& picture);
Bytes lossyWebp(const WebpPicture& picture);

struct WebpChunk {
  std::string fourCc;
  Bytes payload;
};

Bytes webpFile(const std::vector<WebpChunk>& chunks);

/// The chunks of a file that is in order.
std::vector<WebpChunk> webpChunks(ByteView file);

/// The header chunk of the extended format with these flags: 0x20 profile, 0x10 alpha, 0x08 Exif, 0x04 XMP, 0x02
/// animation.
WebpChunk webpHeader(std::uint8_t flags, std::uint32_t width, std::uint32_t height);

/// The chunk that says how an animation runs.
WebpChunk webpAnimation();

/// One frame of an animation: the picture of `still` at an even offset.
WebpChunk webpFrame(ByteView still, std::uint32_t left, std::uint32_t top, std::uint32_t width, std::uint32_t height);

}  // namespace quellor::test_support
