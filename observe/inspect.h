#pragma once
#include "platform/platform.h"
#include "protocol/elapsed_time.h"
#include "protocol/records.h"

namespace quellor {

/// The operation "inspect": reports the facts of the image at the request's `inputPath`. Writes nothing, reads no
/// other field of the request, never raises: every failure is in the response. `start` is when dispatch began.
HelperResponse runInspect(const Platform& platform, const HelperRequest& request, WallClockSeconds start);

}  // namespace quellor
