#pragma once
#include <functional>

#include "protocol/elapsed_time.h"
#include "protocol/records.h"

namespace quellor {

/// The frame of every driver: runs `pipeline`, which raises where it fails and otherwise returns a response that
/// holds what it found out, and completes that response with the success, the operation and the elapsed time.
///
/// Raises nothing. A HelperFailure is answered with its code and message, any other error with "internal_error" and
/// its description, and in both cases with nothing of what the pipeline had found out before.
HelperResponse respond(const HelperRequest& request, WallClockSeconds start,
                       const std::function<HelperResponse()>& pipeline);

}  // namespace quellor
