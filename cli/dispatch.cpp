#include "cli/dispatch.h"

#include <string>

#include "observe/inspect.h"
#include "protocol/elapsed_time.h"
#include "rewrite/encode_candidate.h"
#include "rewrite/rewrite_operations.h"
#include "storage/export_storage_pixels.h"

namespace quellor {
namespace {

HelperResponse unsupportedVersion(const HelperRequest& request, WallClockSeconds start) {
  const std::string message = "protocolVersion " + std::to_string(request.protocolVersion) + " not supported";
  return HelperResponse::failed(request.operation, {"unsupported_protocol_version", message},
                                elapsedMillisecondsSince(start));
}

HelperResponse unsupportedOperation(const HelperRequest& request, WallClockSeconds start) {
  const std::string message = "operation " + request.operation + " not supported";
  return HelperResponse::failed(request.operation, {"unsupported_operation", message}, elapsedMillisecondsSince(start));
}

HelperResponse responseTo(const HelperRequest& request, const Platform& platform, WallClockSeconds start) {
  if (request.protocolVersion != supportedProtocolVersion) return unsupportedVersion(request, start);
  if (request.operation == "encode-candidate") return runEncodeCandidate(platform, request, start);
  if (request.operation == "export-storage-pixels") return runExportStoragePixels(platform, request, start);
  if (request.operation == "inspect") return runInspect(platform, request, start);
  if (request.operation == "rewrite-from-source") return runRewrite(platform, request, true, start);
  if (request.operation == "rewrite-decoded-image") return runRewrite(platform, request, false, start);
  return unsupportedOperation(request, start);
}

}  // namespace

std::pair<HelperResponse, ExitStatus> handleRequest(const HelperRequest& request, const Platform& platform) {
  const WallClockSeconds start = wallClockNow();
  HelperResponse response = responseTo(request, platform, start);
  const ExitStatus status = response.success ? 0 : 1;
  return {std::move(response), status};
}

}  // namespace quellor
