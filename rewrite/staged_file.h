#pragma once
#include <optional>
#include <string>

#include "platform/file_manager.h"
#include "platform/files/termination.h"

namespace quellor {

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
