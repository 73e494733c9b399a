#include "cli/quellor.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <system_error>

#include "cli/dispatch.h"
#include "cli/standard_streams.h"
#include "platform/platform.h"
#include "protocol/elapsed_time.h"
#include "protocol/request_decoder.h"

namespace quellor {
namespace {

constexpr ExitStatus kExitFailureReported = 1;
constexpr ExitStatus kExitUndecodable = 2;
constexpr ExitStatus kExitResponseLost = 3;

/// A write to a closed pipe or past a file-size limit then fails like any other write and is reported.
void ignoreSignalsOfFailedWrites() {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
}

ExitStatus respondWith(const HelperResponse& response, ExitStatus status) {
  const int error = emitJSON(response);
  if (error == 0) return status;
  writeToStandardError("quellor: the response could not be written: " + std::generic_category().message(error) + "\n");
  return kExitResponseLost;
}

ExitStatus refuseUndecodable(const std::string& reason) {
  writeToStandardError("usage: quellor < request.json\ndecode error: " + reason + "\n");
  return kExitUndecodable;
}

ExitStatus answer(const HelperRequest& request) {
  const SystemPlatform platform;
  const auto [response, status] = handleRequest(request, platform.services());
  return respondWith(response, status);
}

ExitStatus run(WallClockSeconds start) {
  HelperRequest request;
  try {
    request = decodeRequest(readStdinJSON());
  } catch (const HelperFailure& failure) {
    return respondWith(HelperResponse::failed("unknown", ErrorBody::of(failure), elapsedMillisecondsSince(start)),
                       kExitFailureReported);
  } catch (const DecodingFailure& failure) {
    return refuseUndecodable(failure.description());
  } catch (const std::exception& error) {
    return refuseUndecodable(error.what());  // no memory for it
  }
  return answer(request);
}

}  // namespace

void Quellor::main() {
  const WallClockSeconds start = wallClockNow();
  takeOverStandardStreams();
  ignoreSignalsOfFailedWrites();
  std::exit(run(start));
}

}  // namespace quellor
