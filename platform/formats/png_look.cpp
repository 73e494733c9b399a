#include <algorithm>
#include <array>
#include <cstdint>
#include <libdeflate.h>
#include <memory>
#include <optional>
#include <vector>

#include "platform/formats/image_format.h"
#include "platform/formats/png_chunks.h"
#include "platform/formats/png_session.h"
#include "platform/values/limits.h"

namespace quellor::png {
namespace {

bool hasRightChecksum(const Chunk& chunk) {
  const ByteView covered = chunk.whole.subspan(4, chunk.whole.size() - 4 - Chunk::kChecksumSize);
  return libdeflate_crc32(0, covered.data(), covered.size()) ==
         bigEndian32(chunk.whole, chunk.whole.size() - Chunk::kChecksumSize);
}

/// Four letters, of which the first is small and the third is not (PNG, third edition, 5.4).
bool isAncillary(const Chunk& chunk) {
  const ByteView type = chunk.whole.subspan(4, 4);
  const auto isLetter = [](std::uint8_t c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  return std::all_of(type.begin(), type.end(), isLetter) && type[0] >= 'a' && type[2] < 'a';
}

/// Where the compressed image data stands: in chunks that follow one another.
struct ImageData {
  std::size_t offset = 0;  // of the first chunk
  std::size_t chunks = 0;
  std::size_t size = 0;  // of their data
};

/// The image data of a file whose chunks before it are known to be in order. Absent unless those from there to IEND
/// are, too: no further critical chunk, and every checksum right.
std::optional<ImageData> orderlyImageData(ByteView file) {
  ImageData data;
  bool ended = false;
  std::size_t offset = kSignature.size();
  while (const auto chunk = chunkAt(file, offset)) {
    if (isEnd(*chunk)) return data;
    const bool isData = chunk->is("IDAT");
    if (isData) {
      if (ended) return std::nullopt;
      if (data.chunks == 0) data.offset = offset;
      ++data.chunks;
      data.size += chunk->data().size();
    } else if (data.chunks != 0) {
      if (!isAncillary(*chunk)) return std::nullopt;
      ended = true;
    }
    if (data.chunks != 0 && !hasRightChecksum(*chunk)) return std::nullopt;
    offset += chunk->whole.size();
  }
  return std::nullopt;
}

/// The data of all its chunks: one's own in the file, that of several joined in `memory`.
ByteView joined(ByteView file, const ImageData& data, Bytes& memory) {
  std::size_t offset = data.offset;
  if (data.chunks == 1) return chunkAt(file, offset)->data();
  memory.reserve(data.size);
  for (std::size_t i = 0; i < data.chunks; ++i) {
    const Chunk chunk = *chunkAt(file, offset);
    memory.insert(memory.end(), chunk.data().begin(), chunk.data().end());
    offset += chunk.whole.size();
  }
  return memory;
}

/// Rows of one length, each with the byte of its filter in front.
struct Pass {
  std::size_t rowBytes = 0;
  std::size_t rows = 0;
};

/// The first sample of a pass in a direction, and the distance to the next (PNG, third edition, 8.1).
struct Lattice {
  std::uint32_t first;
  std::uint32_t step;
  [[nodiscard]] std::uint32_t samplesOf(std::uint32_t side) const { return (side + step - 1 - first) / step; }
};

struct PassLattice {
  Lattice columns;
  Lattice rows;
};
constexpr std::array<PassLattice, 1> kPlain = {{{{0, 1}, {0, 1}}}};
constexpr std::array<PassLattice, 7> kAdam7 = {{{{0, 8}, {0, 8}},
                                                {{4, 8}, {0, 8}},
                                                {{0, 4}, {4, 8}},
                                                {{2, 4}, {0, 4}},
                                                {{0, 2}, {2, 4}},
                                                {{1, 2}, {0, 2}},
                                                {{0, 1}, {1, 2}}}};

/// The passes in which the rows of the image are coded, those without a sample left out. Of at most kMaximumPixels, so
/// that no size overflows.
std::vector<Pass> passesOf(Session& session) {
  png_structp png = session.png();
  png_infop info = session.info();
  const std::size_t pixelBits = std::size_t{png_get_channels(png, info)} * png_get_bit_depth(png, info);
  const bool interlaced = png_get_interlace_type(png, info) == PNG_INTERLACE_ADAM7;
  const std::span<const PassLattice> lattices = interlaced ? std::span<const PassLattice>(kAdam7) : kPlain;
  std::vector<Pass> passes;
  for (const auto& [columns, rows] : lattices) {
    const std::size_t width = columns.samplesOf(png_get_image_width(png, info));
    const std::size_t height = rows.samplesOf(png_get_image_height(png, info));
    if (width != 0 && height != 0) passes.push_back({1 + (width * pixelBits + 7) / 8, height});
  }
  return passes;
}

std::size_t sizeOf(const std::vector<Pass>& passes) {
  std::size_t size = 0;
  for (const Pass& pass : passes) size += pass.rowBytes * pass.rows;
  return size;
}

bool haveKnownFilters(const std::uint8_t* rows, const std::vector<Pass>& passes) {
  for (const Pass& pass : passes) {
    for (std::size_t y = 0; y < pass.rows; ++y, rows += pass.rowBytes) {
      if (*rows >= PNG_FILTER_VALUE_LAST) return false;
    }
  }
  return true;
}

/// Whether a zlib stream says that no match reaches farther back than a window that either holds all of the output or
/// is the largest of all (RFC 1950, 2.2). Then it need not be looked whether one does: others may be refused by the
/// library that decodes, and not by the one that is used here.
bool hasAmpleWindow(ByteView stream, std::size_t outputSize) {
  constexpr unsigned kLargestWindow = 7;
  const unsigned window = stream.empty() ? 0U : stream[0] >> 4U;
  return window == kLargestWindow || outputSize <= std::size_t{256} << window;
}

/// Inflates into memory of exactly the right size. False unless the stream makes just that and ends with the input,
/// its checksum right. Codes without a meaning (RFC 1951, 3.2.5 to 3.2.7: lengths 286 and 287, distances 30 and 31,
/// those that an incomplete set lacks) may be taken for others. No damage gets as far as that: what they are taken for
/// has the right checksum.
bool inflate(ByteView stream, std::uint8_t* output, std::size_t size) {
  const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> decompressor(
      libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  if (decompressor == nullptr) throw std::bad_alloc();
  std::size_t used = 0;
  // Without a place for the number of bytes that come out, fewer than `size` are an error, as more are.
  const auto result =
      libdeflate_zlib_decompress_ex(decompressor.get(), stream.data(), stream.size(), output, size, &used, nullptr);
  return result == LIBDEFLATE_SUCCESS && used == stream.size();
}

/// Whether everything from the image data on is beyond doubt: then the PNG library, too, would read all of the image
/// without an error. Where this is false it may still do so.
bool isProved(Session& session, ByteView file) {
  // An index beyond the palette is an error, and only the samples show it.
  if (png_get_color_type(session.png(), session.info()) == PNG_COLOR_TYPE_PALETTE) return false;
  const std::vector<Pass> passes = passesOf(session);
  const std::size_t size = sizeOf(passes);
  if (size > kMaximumInflatedSize) return false;
  const auto data = orderlyImageData(file);
  if (!data) return false;
  Bytes memory;
  const ByteView stream = joined(file, *data, memory);
  if (!hasAmpleWindow(stream, size)) return false;
  const auto rows = std::make_unique_for_overwrite<std::uint8_t[]>(size);
  return inflate(stream, rows.get(), size) && haveKnownFilters(rows.get(), passes);
}

}  // namespace

}  // namespace quellor::png

namespace quellor::formats {

using namespace png;

Outcome<Look> lookAtPng(ByteView file) {
  {
    Session session(Session::Purpose::samples);
    const auto shape = session.readShape(file);
    if (!shape) return shape.refusal();
    if (isProved(session, file)) return Look{*shape, std::nullopt};
  }
  return lookFrom(decodePng(file));
}

}  // namespace quellor::formats
