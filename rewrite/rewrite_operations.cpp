#include "rewrite/rewrite_operations.h"

#include "protocol/driver_response.h"
#include "rewrite/rewrite_pipeline.h"

namespace quellor {
namespace {

HelperResponse rewrite(const Platform& platform, const HelperRequest& request, bool fromSource, StagedFile& staged) {
  const std::string& outputPath = requiredOutputPath(request, "outputPath is required for rewrite operations");
  requireReadableInput(platform.files, request.inputPath);
  const auto write = [&](const std::string& tempPath) {
    const auto writer = fromSource ? rewriteFromSource : rewriteDecodedImage;
    return writer(platform.images, request.inputPath, tempPath, request.metadataPolicy);
  };
  return writeThroughStaging(platform, request, outputPath, write, staged);
}

}  // namespace

HelperResponse runRewrite(const Platform& platform, const HelperRequest& request, bool fromSource,
                          WallClockSeconds start) {
  StagedFile staged(platform.files);
  return respond(request, start, [&] { return rewrite(platform, request, fromSource, staged); });
}

}  // namespace quellor
