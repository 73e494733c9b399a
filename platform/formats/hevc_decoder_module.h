#pragma once
#include <cstddef>
#include <cstdint>

/// The seam between the program and libavcodec: a loadable module of its own, because it may be under the GPL and
/// takes longer to load than most runs. What crosses the seam is plain data.
namespace quellor {

/// A decoded picture, seen through its conformance window. The planes live as long as `frame` is not released.
struct HevcPicture {
  void* frame = nullptr;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int bits = 8;               // 8 to 16, of every plane; above 8 a sample takes two bytes
  unsigned chromaFormat = 1;  // chroma_format_idc: 0 to 3
  struct Plane {
    const std::uint8_t* firstSample = nullptr;
    std::size_t strideBytes = 0;
  };
  Plane planes[3] = {};  // Y, Cb, Cr in the order of coding, whatever the matrix makes of them; only Y for format 0
  // As the stream signals them, 2 where it does not.
  std::uint16_t colorPrimaries = 2;
  std::uint16_t transferCharacteristics = 2;
  std::uint16_t matrixCoefficients = 2;
  bool fullRange = false;
};

/// How a picture may be decoded.
struct HevcDecodingMeans {
  int threads = 1;  // more than one are of use only where rows can be decoded at the same time
  /// A decoder that has decoded other pictures may do it, on one thread: it keeps its buffers, which saves a fiftieth,
  /// and remembers parameter sets, so the stream must be known to bring its own.
  bool usedDecoder = false;
};

/// The functions that the decoder's module exports. None throws, both may be called on several threads.
struct HevcDecoder {
  std::uint32_t version = 0;     // kHevcDecoderVersion of the sources that the module was built from
  std::size_t paddingBytes = 0;  // how many zero bytes must stand behind a stream

  /// Decodes the one picture in `stream`, a byte stream (ITU-T H.265, annex B). False, with `picture` as it was, when
  /// libavcodec reports or marks any error, when a part of the picture was not decoded, when there is not exactly one
  /// picture, when it is too large or of a form that HevcPicture has no words for, and where memory runs out. Damage
  /// that leaves the arithmetic code decodable goes unnoticed (platform/hevc/verify.h).
  bool (*decode)(const std::uint8_t* stream, std::size_t size, HevcDecodingMeans means,
                 HevcPicture* picture) noexcept = nullptr;

  void (*release)(void* frame) noexcept = nullptr;
};

inline constexpr std::uint32_t kHevcDecoderVersion = 1;

/// Name of the module, and of the function with C linkage by which it hands out its table: `const HevcDecoder* ()`.
inline constexpr const char* kHevcDecoderModule = "hevc-decoder";
inline constexpr const char* kHevcDecoderEntry = "quellorHevcDecoder";

}  // namespace quellor
