#include "platform/files/regular_file.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <utility>

#include "platform/files/path.h"

namespace quellor {
namespace {

/// Reads from the start of the file until `size` bytes are there or the file ends; returns how many there are.
std::size_t readFromStart(int descriptor, std::uint8_t* bytes, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    const ssize_t got = pread(descriptor, bytes + filled, size - filled, static_cast<off_t>(filled));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    filled += static_cast<std::size_t>(got);
  }
  return filled;
}

std::optional<struct stat> statusOf(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return std::nullopt;
  return status;
}

}  // namespace

std::optional<RegularFile> RegularFile::open(const std::string& path) {
  if (!isUsablePath(path)) return std::nullopt;
  FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!descriptor.isOpen()) return std::nullopt;
  const auto status = statusOf(descriptor.get());
  if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
  return RegularFile(std::move(descriptor));
}

Bytes RegularFile::head(std::size_t size) const {
  Bytes bytes(size);
  bytes.resize(readFromStart(descriptor_.get(), bytes.data(), size));
  return bytes;
}

std::optional<FileContents> RegularFile::contents(std::uint64_t maximumSize) const {
  const auto status = statusOf(descriptor_.get());
  if (!status || status->st_size <= 0 || static_cast<std::uint64_t>(status->st_size) > maximumSize) return std::nullopt;
  const auto size = static_cast<std::size_t>(status->st_size);
  try {
    auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>(size);
    if (readFromStart(descriptor_.get(), bytes.get(), size) != size) return std::nullopt;
    return FileContents(std::move(bytes), size);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace quellor
