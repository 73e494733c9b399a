#include "cli/standard_streams.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "protocol/response_encoder.h"

namespace quellor {
namespace {

constexpr std::size_t kReadBytes = std::size_t{64} * 1024;

/// Its keys are unsorted and it has no version: no encoded response looks like it.
constexpr const char* kFallbackDocument =
    R"({"success":false,"error":{"code":"internal_error","message":"json encode failed"}})";

std::string documentFor(const HelperResponse& response) {
  try {
    return encodeResponse(response);
  } catch (const EncodingFailure&) {
    return kFallbackDocument;
  }
}

}  // namespace

void occupyStandardStreams() {
  // The lowest free number is given away first, so whatever is opened here fills the gaps in their order.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) == -1) open("/dev/null", O_RDWR);
  }
}

std::vector<char> readStdinJSON() {
  std::vector<char> document;
  for (;;) {
    const std::size_t filled = document.size();
    document.resize(filled + kReadBytes);
    const ssize_t got = read(STDIN_FILENO, document.data() + filled, kReadBytes);
    document.resize(filled + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got == 0 || (got < 0 && errno != EINTR)) break;
  }
  if (document.empty()) throw HelperFailure("invalid_request", "empty stdin");
  return document;
}

void emitJSON(const HelperResponse& response) {
  const std::string line = documentFor(response) + "\n";
  // There is nobody to tell if this fails: standard output is the only way to the caller.
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

}  // namespace quellor
