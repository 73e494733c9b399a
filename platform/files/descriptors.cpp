#include "platform/files/descriptors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <poll.h>
#include <sys/uio.h>

namespace quellor {
namespace {

/// POSIX promises that many buffers per call (_XOPEN_IOV_MAX).
constexpr std::size_t kBuffersPerWrite = 16;

/// What is left to write of some parts, in their order.
class Remainder {
 public:
  explicit Remainder(std::span<const ByteView> parts) : parts_(parts) { advance(0); }

  [[nodiscard]] bool empty() const { return parts_.empty(); }

  /// Fills `buffers` from its start with the next parts and returns how many it took.
  std::size_t next(std::array<iovec, kBuffersPerWrite>& buffers) const {
    const std::size_t count = std::min(parts_.size(), buffers.size());
    for (std::size_t i = 0; i < count; ++i) {
      const ByteView part = parts_[i].subspan(i == 0 ? taken_ : 0);
      // The system's type does not say so, but it only reads from there.
      buffers[i] = {const_cast<std::uint8_t*>(part.data()), part.size()};
    }
    return count;
  }

  void advance(std::size_t written) {
    taken_ += written;
    while (!parts_.empty() && taken_ >= parts_.front().size()) {
      taken_ -= parts_.front().size();
      parts_ = parts_.subspan(1);
    }
  }

 private:
  std::span<const ByteView> parts_;  // the first is taken in part, never whole
  std::size_t taken_ = 0;
};

}  // namespace

int waitUntilReady(int descriptor, short event) {
  pollfd waited{descriptor, event, 0};
  while (poll(&waited, 1, -1) < 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

int writeGathered(int descriptor, std::span<const ByteView> parts) {
  Remainder remainder(parts);
  while (!remainder.empty()) {
    std::array<iovec, kBuffersPerWrite> buffers{};
    const std::size_t count = remainder.next(buffers);
    const ssize_t written = writev(descriptor, buffers.data(), static_cast<int>(count));
    if (written > 0) {
      remainder.advance(static_cast<std::size_t>(written));
      continue;
    }
    const int error = written < 0 ? errno : EIO;
    if (error == EINTR) continue;
    if (error != EAGAIN) return error;
    if (const int unreachable = waitUntilReady(descriptor, POLLOUT); unreachable != 0) return unreachable;
  }
  return 0;
}

}  // namespace quellor
