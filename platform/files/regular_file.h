#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/files/descriptors.h"
#include "platform/values/bytes.h"

namespace quellor {

/// The whole contents of a file, in memory: a file that is cut short later cannot hurt.
class FileContents {
 public:
  FileContents(std::unique_ptr<std::uint8_t[]> bytes, std::size_t size) : bytes_(std::move(bytes)), size_(size) {}

  [[nodiscard]] ByteView view() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_;
};

/// A regular file, open for reading. Anything else (a directory, a FIFO, a socket, a device) is not opened, and
/// opening never waits.
class RegularFile {
 public:
  static std::optional<RegularFile> open(const std::string& path);

  /// The first `size` bytes, or as many as there are.
  [[nodiscard]] Bytes head(std::size_t size) const;

  /// The whole file, or absent when it cannot be read, changes its size meanwhile, is larger than `maximumSize` or
  /// than the memory that can be had.
  [[nodiscard]] std::optional<FileContents> contents(std::uint64_t maximumSize) const;

 private:
  explicit RegularFile(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

  FileDescriptor descriptor_;
};

}  // namespace quellor
