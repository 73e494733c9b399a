#include "rewrite/encode_candidate.h"

#include <cmath>

#include "protocol/driver_response.h"
#include "rewrite/rewrite_pipeline.h"

namespace quellor {
namespace {

/// What a request under another name, which dispatch does not send here, gets for a missing quality.
constexpr double kDefaultQuality = 0.8;

double checkedQuality(const HelperRequest& request) {
  const std::optional<double>& quality = request.quality;
  if (request.operation != "encode-candidate") return quality.value_or(kDefaultQuality);
  if (!quality) throw HelperFailure("missing_quality", "quality is required for encode-candidate");
  if (!std::isfinite(*quality)) throw HelperFailure("invalid_quality", "quality must be a finite number");
  if (*quality < 0.0 || *quality > 1.0) {
    throw HelperFailure("quality_out_of_range", "quality must be between 0.0 and 1.0 inclusive");
  }
  return *quality;
}

HelperResponse encodeCandidate(const Platform& platform, const HelperRequest& request, StagedFile& staged) {
  const double quality = checkedQuality(request);
  const std::string& outputPath = requiredOutputPath(request, "outputPath is required for encode-candidate");
  requireReadableInput(platform.files, request.inputPath);
  if (platform.files.fileExists(outputPath)) throw HelperFailure("invalid_request", "output path already exists");
  const auto write = [&](const std::string& tempPath) {
    return encodeCandidateHEIC(platform.images, request.inputPath, tempPath, quality, request.metadataPolicy);
  };
  return writeThroughStaging(platform, request, outputPath, write, staged);
}

}  // namespace

HelperResponse runEncodeCandidate(const Platform& platform, const HelperRequest& request, WallClockSeconds start) {
  StagedFile staged(platform.files);
  HelperResponse response = respond(request, start, [&] { return encodeCandidate(platform, request, staged); });
  response.quality = request.quality;  // echoed by failures, too, even when it is what failed
  return response;
}

}  // namespace quellor
