#include "protocol/driver_response.h"

#include <exception>

#include "platform/described_error.h"

namespace quellor {

HelperResponse respond(const HelperRequest& request, WallClockSeconds start,
                       const std::function<HelperResponse()>& pipeline) {
  try {
    HelperResponse response = pipeline();
    response.success = true;
    response.operation = request.operation;
    response.elapsedMilliseconds = elapsedMillisecondsSince(start);
    return response;
  } catch (const HelperFailure& failure) {
    return HelperResponse::failed(request.operation, ErrorBody::of(failure), elapsedMillisecondsSince(start));
  } catch (const DescribedError& error) {
    return HelperResponse::failed(request.operation, {"internal_error", error.description()},
                                  elapsedMillisecondsSince(start));
  } catch (const std::exception& error) {
    return HelperResponse::failed(request.operation, {"internal_error", error.what()}, elapsedMillisecondsSince(start));
  }
}

}  // namespace quellor
