#pragma once
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

namespace quellor {

/// Bytes of a pixel in memory and in the raw file: red, green, blue and a fourth one that is never 0.
inline constexpr std::int64_t storageBytesPerPixel = 4;

/// width * 4 * height, for sizes of at least 1. Stops the process when 64 signed bits do not hold it.
std::int64_t storageByteCount(std::int64_t width, std::int64_t height);

/// Memory for the pixels of an image, all zero to begin with. Movable, owned by one at a time.
class PixelBuffer {
 public:
  /// Raises std::bad_alloc. Pages that are never written cost no time: the system hands them out as zeros.
  static PixelBuffer zeroed(std::int64_t byteCount);

  [[nodiscard]] std::span<std::uint8_t> bytes() { return {memory_.get(), size_}; }
  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return {memory_.get(), size_}; }

 private:
  struct Free {
    void operator()(std::uint8_t* memory) const { std::free(memory); }
  };
  using Memory = std::unique_ptr<std::uint8_t[], Free>;

  PixelBuffer(Memory memory, std::size_t size) : memory_(std::move(memory)), size_(size) {}

  Memory memory_;
  std::size_t size_;
};

}  // namespace quellor
