#pragma once
#include <string>

namespace quellor {

/// As long as it lives, a file that this process is writing does not outlive a signal that ends the process, whichever
/// thread it comes to: not one that asks for the end (SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGALRM), not the limit of
/// processor time (SIGXCPU), and not a fault (SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGSYS), also when the first
/// thread that made a guard has run out of stack. The file is removed, then the signal ends the process as if nothing
/// had caught it, or goes to the handler that was there before. A signal that the process was started to ignore stays
/// ignored. The file need not exist, neither yet nor any more.
///
/// One file at a time: a second guard, or one for a path longer than PATH_MAX, does nothing. All guards are made by one
/// thread, which also makes the files and does not end before the process.
class RemovedOnTermination {
 public:
  explicit RemovedOnTermination(const std::string& path);
  RemovedOnTermination(const RemovedOnTermination&) = delete;
  RemovedOnTermination& operator=(const RemovedOnTermination&) = delete;
  ~RemovedOnTermination();

 private:
  bool registered_ = false;
};

}  // namespace quellor
