#pragma once
#include <functional>
#include <string>

#include "platform/platform.h"
#include "protocol/records.h"
#include "rewrite/image_writers.h"
#include "rewrite/output_staging.h"

/// What the operations that write an image have in common: their checks, and the way from the input to a finished
/// file in its place.
namespace quellor {

/// The request's output path. Raises HelperFailure "invalid_request" with `message` when it is absent or empty.
const std::string& requiredOutputPath(const HelperRequest& request, const char* message);

/// Raises HelperFailure "input_not_found" or "input_not_readable".
void requireReadableInput(const FileManager& files, const std::string& inputPath);

/// Writes an image into a new file at the path that it is given.
using Writer = std::function<Warnings(const std::string& tempPath)>;

/// Observes the input; has `write` make a file beside `outputPath`; checks that file, observes it and refuses it when
/// colour space or orientation were lost; moves it to `outputPath`, where nothing may exist.
///
/// Returns a response with `input`, `output`, `removedItems` and `warnings`. Raises the first failure, HelperFailure
/// or another; `outputPath` is untouched then. The temporary file is `staged` until it has been moved; `staged` has to
/// outlive the building of the response, for removing the file comes last.
HelperResponse writeThroughStaging(const Platform& platform, const HelperRequest& request,
                                   const std::string& outputPath, const Writer& write, StagedFile& staged);

}  // namespace quellor
