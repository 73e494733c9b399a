#pragma once
#include <optional>
#include <string>

#include "platform/file_manager.h"
#include "platform/files/termination.h"
#include "platform/platform.h"

/// The three steps by which an image reaches its destination only once it is whole: a temporary name beside it, a
/// check of what was written there, and a move that refuses to replace anything. None of them removes the temporary
/// file; the driver does.
namespace quellor {

/// A path for a temporary file in the directory of `outputPath`: hidden, and another one at every call. It does not
/// depend on the name that `outputPath` ends in. For "/photos/out/img.heic" something like
/// "/photos/out/.output.heic.0F8FAD5B-D9CB-469F-A165-70867728950E.part".
std::string tempOutputPath(const std::string& outputPath);

/// Checks that the file at `tempPath` has at least one byte and decodes. Raises FileError when it cannot be looked
/// at, HelperFailure "output_empty", or what observeOutputFile() raises.
void validateOutputFile(const Platform& platform, const std::string& tempPath);

/// Moves `temp` to `outputPath`, where nothing may exist. Raises HelperFailure "atomic_replace_failed", with `temp`
/// and whatever is at `outputPath` as they were.
void atomicReplace(const FileManager& files, const std::string& temp, const std::string& outputPath);

/// The clean-up path of a driver: as long as one is set, the file there is removed at the end of the driver, however
/// it ends, by a signal included. That nothing is there, or that it cannot be removed, does not matter.
class StagedFile {
 public:
  /// `files` outlives the object.
  explicit StagedFile(const FileManager& files) : files_(files) {}
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;
  ~StagedFile();

  /// Sets the clean-up path, before anything is written there.
  void set(const std::string& path);

  /// Empties it again: the file is where it should be.
  void release();

 private:
  const FileManager& files_;
  std::optional<std::string> path_;
  std::optional<RemovedOnTermination> guard_;
};

}  // namespace quellor
