#include "cli/quellor.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "cli/dispatch.h"
#include "cli/standard_streams.h"
#include "platform/platform.h"
#include "protocol/elapsed_time.h"
#include "protocol/request_decoder.h"

namespace quellor {
namespace {

constexpr int kExitFailureReported = 1;
constexpr int kExitUndecodable = 2;

/// A write to a closed pipe or past a file-size limit then fails like any other write and is reported.
void ignoreSignalsOfFailedWrites() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace

void Quellor::main() {
  const WallClockSeconds start = wallClockNow();
  occupyStandardStreams();
  ignoreSignalsOfFailedWrites();
  try {
    const std::vector<char> document = readStdinJSON();
    const HelperRequest request = decodeRequest(document);
    const SystemPlatform platform;
    const auto [response, status] = handleRequest(request, platform.services());
    emitJSON(response);
    std::exit(status);
  } catch (const HelperFailure& failure) {
    emitJSON(HelperResponse::failed("unknown", ErrorBody::of(failure), elapsedMillisecondsSince(start)));
    std::exit(kExitFailureReported);
  } catch (const DecodingFailure& failure) {
    std::fprintf(stderr, "usage: quellor < request.json\ndecode error: %s\n", failure.what());
    std::exit(kExitUndecodable);
  }
}

}  // namespace quellor
