#include "observe/inspect.h"

#include "observe/observation.h"
#include "protocol/driver_response.h"

namespace quellor {
namespace {

ImageObservation observeInput(const Platform& platform, const std::string& path) {
  if (!platform.files.fileExists(path)) throw HelperFailure("input_not_found", "input file not found");
  return observeFile(platform, path, nullptr, false);
}

}  // namespace

HelperResponse runInspect(const Platform& platform, const HelperRequest& request, WallClockSeconds start) {
  return respond(request, start, [&] {
    HelperResponse response;
    response.input = observeInput(platform, request.inputPath);
    return response;
  });
}

}  // namespace quellor
