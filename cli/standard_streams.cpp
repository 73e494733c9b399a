#include "cli/standard_streams.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <unistd.h>

#include "platform/files/descriptors.h"
#include "protocol/response_encoder.h"

namespace quellor {
namespace {

constexpr std::size_t kReadBytes = std::size_t{64} * 1024;

/// Its keys are unsorted and it has no version: no encoded response looks like it.
constexpr const char* kFallbackDocument =
    R"({"success":false,"error":{"code":"internal_error","message":"json encode failed"}})";

// Where the streams of the caller are.
int outputStream = STDOUT_FILENO;
int errorStream = STDERR_FILENO;

std::string documentFor(const HelperResponse& response) {
  try {
    return encodeResponse(response);
  } catch (const EncodingFailure&) {
    return kFallbackDocument;
  }
}

void occupyClosedStreams() {
  // The lowest free number is given away first, so whatever is opened here fills the gaps in their order.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1) open("/dev/null", O_RDWR);
  }
}

/// The new number of a stream whose own number leads to `nowhere` from now on, or its own where that cannot be done.
int movedAside(int stream, int nowhere) {
  const int moved = fcntl(stream, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (moved < 0) return stream;
  if (dup2(nowhere, stream) == stream) return moved;
  close(moved);
  return stream;
}

int writeWhole(int stream, std::string_view text) {
  const std::array parts = {ByteView(reinterpret_cast<const std::uint8_t*>(text.data()), text.size())};
  return writeGathered(stream, parts);
}

}  // namespace

void takeOverStandardStreams() {
  occupyClosedStreams();
  const FileDescriptor nowhere(open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!nowhere.isOpen()) return;
  outputStream = movedAside(STDOUT_FILENO, nowhere.get());
#ifndef QUELLOR_SANITIZED
  errorStream = movedAside(STDERR_FILENO, nowhere.get());
#endif
}

std::vector<char> readStdinJSON() {
  std::vector<char> document;
  for (;;) {
    const std::size_t filled = document.size();
    document.resize(filled + kReadBytes);
    const ssize_t got = read(STDIN_FILENO, document.data() + filled, kReadBytes);
    const int error = got < 0 ? errno : 0;
    document.resize(filled + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got > 0 || error == EINTR) continue;
    if (error != EAGAIN || waitUntilReady(STDIN_FILENO, POLLIN) != 0) break;
  }
  if (document.empty()) throw HelperFailure("invalid_request", "empty stdin");
  return document;
}

int emitJSON(const HelperResponse& response) { return writeWhole(outputStream, documentFor(response) + "\n"); }

void writeToStandardError(std::string_view lines) { (void)writeWhole(errorStream, lines); }

}  // namespace quellor
