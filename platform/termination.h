#pragma once
#include <array>
#include <csignal>
#include <string>

namespace quellor {

/// As long as it lives, a file that this process is writing does not outlive a SIGINT, SIGTERM or SIGHUP: the file is
/// removed, then the signal ends the process as if nothing had caught it. A signal that the process was started to
/// ignore stays ignored. The file need not exist, neither yet nor any more.
///
/// One file at a time: a second guard, or one for a path longer than PATH_MAX, does nothing.
class RemovedOnTermination {
 public:
  explicit RemovedOnTermination(const std::string& path);
  RemovedOnTermination(const RemovedOnTermination&) = delete;
  RemovedOnTermination& operator=(const RemovedOnTermination&) = delete;
  ~RemovedOnTermination();

 private:
  static constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGHUP};

  bool registered_ = false;
  std::array<struct sigaction, kSignals.size()> formerActions_{};
};

}  // namespace quellor
