#include "storage/pixel_buffer.h"

#include <new>

namespace quellor {
namespace {

std::int64_t checkedProduct(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) std::abort();
  return product;
}

}  // namespace

std::int64_t storageByteCount(std::int64_t width, std::int64_t height) {
  return checkedProduct(checkedProduct(width, storageBytesPerPixel), height);
}

PixelBuffer PixelBuffer::zeroed(std::int64_t byteCount) {
  const auto size = static_cast<std::size_t>(byteCount);
  Memory memory(static_cast<std::uint8_t*>(std::calloc(size, 1)));
  if (memory == nullptr) throw std::bad_alloc();
  return {std::move(memory), size};
}

}  // namespace quellor
