#include "platform/formats/png_session.h"

#include <algorithm>
#include <cstring>

#include "platform/formats/png_chunks.h"

namespace quellor::png {
namespace {

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

}  // namespace

Session::Session(Purpose purpose) : purpose_(purpose) {}

Session::~Session() {
  if (png_ != nullptr) png_destroy_read_struct(&png_, &info_, nullptr);
}

void Session::read(std::uint8_t* target, std::size_t size) {
  for (ByteView& part : parts_) {
    const std::size_t count = std::min(size, part.size());
    if (count == 0) continue;
    std::memcpy(target, part.data(), count);
    part = part.subspan(count);
    target += count;
    size -= count;
  }
  if (size != 0) fail();
}

bool Session::selectParts(ByteView file) {
  if (purpose_ == Purpose::samples) {
    parts_ = {file};
    return true;
  }
  const auto split = splitAtImageData(file);
  if (!split) return false;
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

}  // namespace quellor::png
