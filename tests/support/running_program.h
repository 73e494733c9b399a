#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/types.h>

namespace quellor::test_support {

/// The built program as a child that can be watched and sent signals. Killed at the end of its life if it still runs.
class RunningProgram {
 public:
  /// Starts it with the request of a file, its answer going to another; an empty path closes standard output and
  /// standard error. `ignoredSignal` is one that it is started to ignore, or 0.
  RunningProgram(const std::filesystem::path& request, const std::filesystem::path& answer, int ignoredSignal = 0);
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;
  ~RunningProgram();

  void send(int signal) const;
  [[nodiscard]] bool runs();
  /// Waits for its end; returns the status as waitpid() gives it.
  int wait();
  /// What one of its file descriptors leads to, or nothing.
  [[nodiscard]] std::string leadsTo(int descriptor) const;

 private:
  pid_t process_;
  bool ended_ = false;
  int status_ = 0;
};

/// Whether a file is being written in the folder.
[[nodiscard]] bool hasTemporaryFile(const std::filesystem::path& folder);

/// Waits until the program has begun a file in the folder, and returns whether it still runs.
[[nodiscard]] bool waitForTemporaryFile(RunningProgram& program, const std::filesystem::path& folder);

/// A PNG without anything that repeats, so that encoding it takes a while.
[[nodiscard]] std::string busyPicture(std::uint32_t width, std::uint32_t height);

/// A PNG that is soon read, and whose pixels take a while to write.
[[nodiscard]] std::string largePicture();

}  // namespace quellor::test_support
