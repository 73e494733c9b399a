#include "platform/formats/png_session.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "platform/formats/png_chunks.h"
#include "platform/values/big_endian.h"
#include "platform/values/limits.h"

namespace quellor::png {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kFrameControlSize = 26;

/// A file without its image data.
struct FileParts {
  ByteView before;               // signature and chunks before the first IDAT
  std::vector<ByteView> behind;  // chunks behind the last IDAT that describe the image, each whole
  /// The image in the IDAT chunks, be it a frame of an animation or not, and one for every fcTL chunk behind it when
  /// there is an acTL chunk before it (PNG, third edition, 11.3.6). What acTL says of their number does not matter.
  std::size_t imageCount = 1;
};

/// Chunks that describe the image and may stand behind its data (PNG, third edition, 5.6); others there are out of
/// place.
bool mayFollowImageData(const Chunk& chunk) {
  constexpr std::array kTypes = {"tEXt"sv, "zTXt"sv, "iTXt"sv, "eXIf"sv, "tIME"sv};
  return std::any_of(kTypes.begin(), kTypes.end(), [&chunk](std::string_view each) { return chunk.is(each); });
}

/// Absent when the chunks do not reach from the signature to IEND or there is no uninterrupted run of image data
/// (PNG, third edition, 5.2, 5.3 and 5.6). Checksums, but for that of IEND, are not looked at, and neither is what
/// follows IEND.
Outcome<FileParts> splitAtImageData(ByteView file) {
  if (!startsWith(file, kSignature)) return Refusal{"there is no signature"};
  std::size_t offset = kSignature.size();
  FileParts parts;
  std::size_t dataEnd = 0;
  bool animated = false;
  while (const auto chunk = chunkAt(file, offset)) {
    const std::size_t end = offset + chunk->whole.size();
    if (chunk->is("IDAT")) {
      if (parts.before.empty()) parts.before = file.first(offset);
      if (dataEnd != 0 && dataEnd != offset) return Refusal{"the image data is interrupted"};
      dataEnd = end;
    } else if (chunk->is("IEND")) {
      if (parts.before.empty()) return Refusal{"there is no image data"};
      if (!isEnd(*chunk)) return Refusal{"the end chunk is broken"};
      return parts;
    } else if (dataEnd != 0 && mayFollowImageData(*chunk)) {
      parts.behind.push_back(chunk->whole);
    } else if (chunk->is("acTL")) {
      animated = animated || dataEnd == 0;
    } else if (animated && dataEnd != 0 && chunk->is("fcTL") && chunk->data().size() == kFrameControlSize) {
      ++parts.imageCount;
    }
    offset = end;
  }
  return Refusal{"the file ends before its end chunk"};
}

// Compressed text and profiles may unpack to a thousand times their size. Together these allow metadata of a few
// megabytes and never more than one gigabyte.
constexpr png_alloc_size_t kMaximumChunkBytes = png_alloc_size_t{8} << 20;
constexpr png_uint_32 kMaximumStoredChunks = 128;

/// The format's own limit (PNG, third edition, 7.1); the number of pixels is checked before samples are allocated.
constexpr png_uint_32 kMaximumSide = 0x7FFFFFFF;

/// Chunks that the library hands out as they are.
constexpr png_byte kRawChunks[] = {'c', 'I', 'C', 'P', 0, 'e', 'X', 'I', 'f', 0};
constexpr int kRawChunkCount = 2;

/// An empty IDAT chunk, before which the library stops to read. It has no way to pass over image data, so what stands
/// behind that is given to it earlier.
constexpr std::uint8_t kEmptyImageData[] = {0, 0, 0, 0, 'I', 'D', 'A', 'T', 0x35, 0xAF, 0x06, 0x1E};

void onError(png_structp png, png_const_charp /*message*/) { static_cast<Session*>(png_get_error_ptr(png))->fail(); }

void onWarning(png_structp /*png*/, png_const_charp /*message*/) {}

void onRead(png_structp png, png_bytep target, std::size_t size) {
  static_cast<Session*>(png_get_io_ptr(png))->read(target, size);
}

/// Whether a file of that size can hold the image: asked before memory is taken for it. Deflate makes at most 1032
/// bytes of one (two bits for a match of 258 bytes).
bool canHoldImage(std::uint64_t rowBytes, std::uint32_t height, std::size_t fileSize) {
  constexpr std::uint64_t kGreatestExpansion = 1032;
  return rowBytes * height / kGreatestExpansion <= fileSize;
}

}  // namespace

Session::Session(Purpose purpose) : purpose_(purpose) {}

Session::~Session() {
  if (png_ != nullptr) png_destroy_read_struct(&png_, &info_, nullptr);
}

void Session::read(std::uint8_t* target, std::size_t size) {
  while (size != 0) {
    if (part_ == parts_.size()) fail();
    ByteView& part = parts_[part_];
    const std::size_t count = std::min(size, part.size());
    if (count != 0) std::memcpy(target, part.data(), count);
    part = part.subspan(count);
    target += count;
    size -= count;
    if (part.empty()) ++part_;
  }
}

bool Session::selectParts(ByteView file) {
  if (purpose_ == Purpose::samples) {
    parts_ = {file};
    return true;
  }
  const auto split = splitAtImageData(file);
  if (!split) {
    refusal_ = split.refusal();
    return false;
  }
  imageCount_ = split->imageCount;
  parts_ = {split->before};
  parts_.insert(parts_.end(), split->behind.begin(), split->behind.end());
  parts_.emplace_back(kEmptyImageData);
  return true;
}

void Session::configure() {
  png_set_read_fn(png_, this, onRead);
  png_set_user_limits(png_, kMaximumSide, kMaximumSide);
  png_set_chunk_cache_max(png_, kMaximumStoredChunks);
  // A damaged chunk is a damaged file, whatever the chunk is for: there is no telling what else was hit.
  png_set_crc_action(png_, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
  if (purpose_ == Purpose::facts) {
    png_set_chunk_malloc_max(png_, kMaximumChunkBytes);
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS, kRawChunks, kRawChunkCount);
    png_set_benign_errors(png_, 1);
  } else {
    png_set_chunk_malloc_max(png_, 0);  // what could be large is passed over
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_benign_errors(png_, 0);  // among them a wrong checksum or a surplus of image data
  }
}

bool Session::readHeader(ByteView file) {
  if (!selectParts(file)) return false;
  return run([this] {
    png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
    if (png_ == nullptr) fail();
    info_ = png_create_info_struct(png_);
    if (info_ == nullptr) fail();
    configure();
    png_read_info(png_, info_);
  });
}

Outcome<RasterShape> Session::readShape(ByteView file) {
  if (!readHeader(file)) return refusal_;
  const unsigned colorType = png_get_color_type(png_, info_);
  RasterShape shape;
  shape.width = png_get_image_width(png_, info_);
  shape.height = png_get_image_height(png_, info_);
  if (std::uint64_t{shape.width} * shape.height > kMaximumPixels) return Refusal{"the image is too large"};
  if (!canHoldImage(png_get_rowbytes(png_, info_), shape.height, file.size())) {
    return Refusal{"the file is shorter than an image of that size can be"};
  }
  shape.bitsPerComponent = png_get_bit_depth(png_, info_) == 16 ? 16 : 8;
  shape.model = (colorType & PNG_COLOR_MASK_COLOR) != 0 ? SampleModel::rgb : SampleModel::grey;
  shape.alpha = (colorType & PNG_COLOR_MASK_ALPHA) != 0 || png_get_valid(png_, info_, PNG_INFO_tRNS) != 0;
  return shape;
}

}  // namespace quellor::png
