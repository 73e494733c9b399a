#pragma once
#include "platform/platform.h"
#include "protocol/elapsed_time.h"
#include "protocol/records.h"

namespace quellor {

/// The operation "encode-candidate": encodes the input's primary image again, at the request's `quality` and with the
/// metadata that its policy leaves, as a new HEIC file at its `outputPath`, where nothing may exist. Never raises:
/// every failure is in the response, and leaves no file. `start` is when dispatch began.
HelperResponse runEncodeCandidate(const Platform& platform, const HelperRequest& request, WallClockSeconds start);

}  // namespace quellor
