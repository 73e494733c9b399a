#pragma once
#include <span>
#include <unistd.h>
#include <utility>

#include "platform/values/bytes.h"

namespace quellor {

/// An open file descriptor and its end. Holds nothing when opening failed.
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&&) = delete;
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (isOpen()) ::close(descriptor_);
  }

  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int get() const { return descriptor_; }

  /// Closes it now. False, with errno set, when that shows that what was written is lost.
  [[nodiscard]] bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

 private:
  int descriptor_;
};

/// For a descriptor in non-blocking mode, which is a matter of whoever opened it: waits as long as it takes until it
/// can be read from (`POLLIN`) or written to (`POLLOUT`), or has an error that reading or writing then reports. Returns
/// 0, or the errno value where it cannot be waited for.
[[nodiscard]] int waitUntilReady(int descriptor, short event);

/// Writes all of `parts`, one after the other, at the descriptor's position: gathered by the system, so that nothing is
/// copied together first, and in as many calls as it takes; where a descriptor in non-blocking mode has no room, waits
/// until it has. Allocates nothing.
///
/// Returns 0, or the errno value of the failure; how much was written until then is not told.
[[nodiscard]] int writeGathered(int descriptor, std::span<const ByteView> parts);

}  // namespace quellor
