#include "rewrite/output_staging.h"

#include <exception>

#include "observe/observation.h"
#include "platform/files/path.h"
#include "platform/files/uuid.h"

namespace quellor {

std::string tempOutputPath(const std::string& outputPath) {
  return joinPath(parentDirectory(outputPath), ".output.heic." + randomUuid() + ".part");
}

void validateOutputFile(const Platform& platform, const std::string& tempPath) {
  const FileAttributes attributes = platform.files.attributesOfItem(tempPath);
  if (attributes.size.value_or(0) < 1) throw HelperFailure("output_empty", "output file is empty");
  (void)observeOutputFile(platform, tempPath, true);
}

void atomicReplace(const FileManager& files, const std::string& temp, const std::string& outputPath) {
  if (files.fileExists(outputPath)) throw HelperFailure("atomic_replace_failed", "output path already exists");
  try {
    files.moveItem(temp, outputPath);
  } catch (const FileError& error) {
    throw HelperFailure("atomic_replace_failed", error.description());
  }
}

StagedFile::~StagedFile() {
  if (!path_) return;
  try {
    files_.removeItem(*path_);
  } catch (const std::exception&) {
    // Most often it was never created, and there is nobody left to tell of anything else.
  }
}

void StagedFile::set(const std::string& path) {
  path_ = path;
  guard_.emplace(path);
}

void StagedFile::release() {
  path_.reset();
  guard_.reset();
}

}  // namespace quellor
