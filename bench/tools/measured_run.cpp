// Runs a command and says what it took:
//
//   measured_run INPUT_FILE COMMAND ARGUMENT...
//
// The command reads INPUT_FILE as its standard input; its standard output is thrown away, its standard error is this
// program's. Prints one line: microseconds from start to end, microseconds of processor time (user and system, of the
// command and all processes that it waited for), peak resident memory in kilobytes (of the largest of them), and the
// exit status, or 128 and the number of the signal.

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

long long microseconds(const timeval& time) { return time.tv_sec * 1'000'000LL + time.tv_usec; }

int exitStatus(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

/// Standard input and output of the command; closed with the actions.
class Redirections {
 public:
  explicit Redirections(const char* input) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, input, O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  }
  Redirections(const Redirections&) = delete;
  Redirections& operator=(const Redirections&) = delete;
  ~Redirections() { posix_spawn_file_actions_destroy(&actions_); }

  [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) {
    std::fputs("usage: measured_run INPUT_FILE COMMAND ARGUMENT...\n", stderr);
    return 64;
  }
  const Redirections redirections(arguments[1]);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  const int error = posix_spawnp(&child, arguments[2], redirections.actions(), nullptr, arguments + 2, environ);
  if (error != 0) {
    std::fprintf(stderr, "%s: %s\n", arguments[2], std::strerror(error));
    return 69;
  }
  int status = 0;
  rusage usage{};
  while (wait4(child, &status, 0, &usage) < 0) {
    if (errno != EINTR) return 70;
  }
  const auto elapsed = std::chrono::steady_clock::now() - start;
  std::printf("%lld %lld %ld %d\n",
              static_cast<long long>(std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count()),
              microseconds(usage.ru_utime) + microseconds(usage.ru_stime), usage.ru_maxrss, exitStatus(status));
  return 0;
}
