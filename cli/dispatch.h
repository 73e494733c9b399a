#pragma once
#include <utility>

#include "platform/platform.h"
#include "protocol/records.h"

namespace quellor {

using ExitStatus = int;

/// Checks the request's version, then calls the driver of the operation that it names, by exact and case-sensitive
/// comparison. Never raises. The status is 0 when the response reports success, else 1.
std::pair<HelperResponse, ExitStatus> handleRequest(const HelperRequest& request, const Platform& platform);

}  // namespace quellor
