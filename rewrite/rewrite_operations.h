#pragma once
#include "platform/platform.h"
#include "protocol/elapsed_time.h"
#include "protocol/records.h"

namespace quellor {

/// The operations "rewrite-from-source" (`fromSource`), which copies the input's primary image as it is coded, and
/// "rewrite-decoded-image", which decodes and encodes it: into a new HEIC file at the request's `outputPath`, with the
/// metadata that its policy leaves. A request's `quality` is ignored.
///
/// An existing output is refused by the final move only. Never raises: every failure is in the response, and leaves no
/// file. `start` is when dispatch began.
HelperResponse runRewrite(const Platform& platform, const HelperRequest& request, bool fromSource,
                          WallClockSeconds start);

}  // namespace quellor
