#include "tests/support/process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace quellor::test_support {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

[[noreturn]] void raiseErrno(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

class FileDescriptor {
 public:
  explicit FileDescriptor(int number = -1) : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() { close(); }
  void close() {
    if (number_ >= 0) ::close(std::exchange(number_, -1));
  }
  [[nodiscard]] int get() const { return number_; }
  [[nodiscard]] bool isOpen() const { return number_ >= 0; }

 private:
  int number_;
};

struct Pipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) raiseErrno("pipe2");
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

void makeNonBlocking(const FileDescriptor& end) {
  if (fcntl(end.get(), F_SETFL, fcntl(end.get(), F_GETFL) | O_NONBLOCK) != 0) raiseErrno("fcntl");
}

/// Everything the child needs after fork, prepared before it: only async-signal-safe calls are allowed there.
struct Launch {
  Launch(const std::filesystem::path& programPath, const ProcessOptions& options)
      : program(programPath.string()),
        directory(options.workingDirectory.string()),
        user(options.user),
        threadLimit(options.threadLimit) {
    texts.push_back(program);
    texts.insert(texts.end(), options.arguments.begin(), options.arguments.end());
    const std::size_t argumentCount = texts.size();
    for (char** entry = environ; *entry != nullptr; ++entry) {
      const std::string text = *entry;
      if (!options.environment.contains(text.substr(0, text.find('=')))) texts.push_back(text);
    }
    for (const auto& [name, value] : options.environment) texts.push_back(name + "=" + value);
    for (std::size_t i = 0; i < texts.size(); ++i) (i < argumentCount ? argv : envp).push_back(texts[i].data());
    argv.push_back(nullptr);
    envp.push_back(nullptr);
  }

  std::string program;
  std::string directory;
  std::optional<uid_t> user;
  std::optional<unsigned> threadLimit;
  std::vector<std::string> texts;
  std::vector<char*> argv;
  std::vector<char*> envp;
};

bool changeUser(uid_t user) { return setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0; }

/// Root is not limited, and who is not root cannot become another user.
bool limitThreads(unsigned count) {
  const rlimit limit{count, count};
  if (setrlimit(RLIMIT_NPROC, &limit) != 0) return false;
  constexpr uid_t kFirstUnusedUser = 200'000;
  return geteuid() == 0 ? changeUser(kFirstUnusedUser + static_cast<uid_t>(getpid())) : unshare(CLONE_NEWUSER) == 0;
}

/// In the child: never returns; sends errno through `failure` when the program cannot be started.
[[noreturn]] void becomeProgram(const Launch& launch, int input, int output, int error, int failure) {
  setpgid(0, 0);
  signal(SIGPIPE, SIG_DFL);
  const bool ready =
      dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 && dup2(error, STDERR_FILENO) >= 0 &&
      (launch.directory.empty() || chdir(launch.directory.c_str()) == 0) &&
      (!launch.user || changeUser(*launch.user)) && (!launch.threadLimit || limitThreads(*launch.threadLimit));
  if (ready) execve(launch.program.c_str(), launch.argv.data(), launch.envp.data());
  const int reason = errno;
  if (write(failure, &reason, sizeof reason) < 0) _exit(126);
  _exit(127);
}

/// A running child; the destructor kills and collects one that was left behind.
class Child {
 public:
  Child(const Launch& launch, bool nonBlocking, Clock::time_point limit) : limit_(limit) {
    Pipe input = makePipe();
    Pipe output = makePipe();
    Pipe error = makePipe();
    Pipe failure = makePipe();
    if (nonBlocking) {
      for (const FileDescriptor* end : {&input.readEnd, &output.writeEnd, &error.writeEnd}) makeNonBlocking(*end);
    }
    id_ = fork();
    if (id_ < 0) raiseErrno("fork");
    if (id_ == 0) {
      becomeProgram(launch, input.readEnd.get(), output.writeEnd.get(), error.writeEnd.get(), failure.writeEnd.get());
    }
    setpgid(id_, id_);  // whoever of the two is first
    failure.writeEnd.close();
    int reason = 0;
    if (read(failure.readEnd.get(), &reason, sizeof reason) == sizeof reason) {
      waitpid(std::exchange(id_, -1), nullptr, 0);
      throw std::system_error(reason, std::generic_category(), launch.program);
    }
    input_ = std::move(input.writeEnd);
    output_ = std::move(output.readEnd);
    error_ = std::move(error.readEnd);
    for (const FileDescriptor* end : {&input_, &output_, &error_}) makeNonBlocking(*end);
  }

  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  ~Child() {
    if (id_ <= 0) return;
    kill(-id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }

  /// Feeds standard input and collects both outputs until the child closes them or time is up.
  void exchange(const ProcessOptions& options, ProcessResult& result) {
    std::size_t sent = 0;
    std::optional<Clock::time_point> closeAt;
    while (output_.isOpen() || error_.isOpen()) {
      if (sent == options.standardInput.size() && !closeAt) closeAt = Clock::now() + options.holdInputOpen;
      if (closeAt && Clock::now() >= *closeAt) input_.close();
      if (Clock::now() >= limit_) return stop(result);
      const bool sending = input_.isOpen() && !closeAt;
      std::array<pollfd, 3> ends{pollfd{output_.get(), POLLIN, 0}, pollfd{error_.get(), POLLIN, 0},
                                 pollfd{sending ? input_.get() : -1, POLLOUT, 0}};
      const bool holding = input_.isOpen() && closeAt.has_value();
      poll(ends.data(), ends.size(), millisecondsUntil(holding ? std::min(limit_, *closeAt) : limit_));
      if (ends[0].revents != 0) receive(output_, result.standardOutput);
      if (ends[1].revents != 0) receive(error_, result.standardError);
      if (ends[2].revents != 0) send(options.standardInput, sent);
    }
    input_.close();
  }

  /// Waits for the end that follows the closed outputs, or kills the child when time is up.
  void collect(ProcessResult& result) {
    int status = 0;
    while (waitpid(id_, &status, WNOHANG) == 0) {
      if (Clock::now() >= limit_ && !result.timedOut) stop(result);
      std::this_thread::sleep_for(milliseconds(1));
    }
    id_ = -1;
    if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  }

 private:
  void stop(ProcessResult& result) {
    result.timedOut = true;
    kill(-id_, SIGKILL);
  }

  static int millisecondsUntil(Clock::time_point moment) {
    const auto left = std::chrono::ceil<milliseconds>(moment - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 60'000));
  }

  static void receive(FileDescriptor& end, std::string& text) {
    std::array<char, 65536> buffer{};
    const ssize_t got = read(end.get(), buffer.data(), buffer.size());
    if (got > 0) text.append(buffer.data(), static_cast<std::size_t>(got));
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) end.close();
  }

  void send(const std::string& text, std::size_t& sent) {
    const ssize_t written = write(input_.get(), text.data() + sent, text.size() - sent);
    if (written > 0) sent += static_cast<std::size_t>(written);
    if (written < 0 && errno != EAGAIN && errno != EINTR) input_.close();  // the child reads no more
  }

  Clock::time_point limit_;
  pid_t id_ = -1;
  FileDescriptor input_;
  FileDescriptor output_;
  FileDescriptor error_;
};

}  // namespace

ProcessResult runProcess(const std::filesystem::path& program, const ProcessOptions& options) {
  signal(SIGPIPE, SIG_IGN);  // a child that ends early must not end the test
  const Clock::time_point start = Clock::now();
  const Launch launch(program, options);
  ProcessResult result;
  Child child(launch, options.nonBlocking, start + options.timeLimit);
  child.exchange(options, result);
  child.collect(result);
  result.duration = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
  return result;
}

}  // namespace quellor::test_support
