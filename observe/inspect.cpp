#include "observe/inspect.h"

#include <exception>
#include <utility>

#include "observe/observation.h"

namespace quellor {
namespace {

ImageObservation observeInput(const Platform& platform, const std::string& path) {
  if (!platform.files.fileExists(path)) throw HelperFailure("input_not_found", "input file not found");
  return observeFile(platform, path, nullptr, false);
}

}  // namespace

HelperResponse runInspect(const Platform& platform, const HelperRequest& request, WallClockSeconds start) {
  try {
    HelperResponse response;
    response.input = observeInput(platform, request.inputPath);
    response.success = true;
    response.operation = request.operation;
    response.elapsedMilliseconds = elapsedMillisecondsSince(start);
    return response;
  } catch (const HelperFailure& failure) {
    return HelperResponse::failed(request.operation, ErrorBody::of(failure), elapsedMillisecondsSince(start));
  } catch (const std::exception& error) {
    return HelperResponse::failed(request.operation, {"internal_error", error.what()}, elapsedMillisecondsSince(start));
  }
}

}  // namespace quellor
