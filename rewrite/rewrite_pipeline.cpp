#include "rewrite/rewrite_pipeline.h"

#include <utility>

#include "observe/comparison.h"
#include "observe/observation.h"
#include "rewrite/output_staging.h"

namespace quellor {
namespace {

/// The observation of a file that has been moved to `outputPath` since. Its size is measured again where it can be.
void correctForPlace(const FileManager& files, const std::string& outputPath, ImageObservation& output) {
  output.path = outputPath;
  try {
    const FileAttributes attributes = files.attributesOfItem(outputPath);
    if (attributes.size) output.bytes = attributes.size;
  } catch (const FileError&) {
    // The size of the temporary file stands.
  }
}

}  // namespace

const std::string& requiredOutputPath(const HelperRequest& request, const char* message) {
  if (!request.outputPath || request.outputPath->empty()) throw HelperFailure("invalid_request", message);
  return *request.outputPath;
}

void requireReadableInput(const FileManager& files, const std::string& inputPath) {
  if (!files.fileExists(inputPath)) throw HelperFailure("input_not_found", "input file not found");
  if (!files.isReadable(inputPath)) throw HelperFailure("input_not_readable", "input file is not readable");
}

HelperResponse writeThroughStaging(const Platform& platform, const HelperRequest& request,
                                   const std::string& outputPath, const Writer& write, StagedFile& staged) {
  ImageObservation input = observeFile(platform, request.inputPath, nullptr, false);

  const std::string tempPath = tempOutputPath(outputPath);
  staged.set(tempPath);
  Warnings warnings = write(tempPath);

  if (!platform.files.fileExists(tempPath)) {
    throw HelperFailure("output_missing", "temporary output missing after finalize");
  }
  validateOutputFile(platform, tempPath);
  ImageObservation output = observeOutputFile(platform, tempPath, true);
  validateColorSpacePreserved(input, output);
  validateOrientationPreserved(input, output, request.metadataPolicy);

  atomicReplace(platform.files, tempPath, outputPath);
  staged.release();
  correctForPlace(platform.files, outputPath, output);

  HelperResponse response;
  response.removedItems = computeRemovedItems(input, output);
  response.input = std::move(input);
  response.output = std::move(output);
  response.warnings = std::move(warnings);
  return response;
}

}  // namespace quellor
