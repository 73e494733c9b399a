#pragma once
#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace quellor::test_support {

/// How to run a program as a child of the test.
struct ProcessOptions {
  std::vector<std::string> arguments;  // without the program's own name
  std::string standardInput;           // may be larger than a pipe holds, and the child need not read it
  /// How long standard input stays open after its last byte.
  std::chrono::milliseconds holdInputOpen{0};
  std::filesystem::path workingDirectory;          // empty: the test's own
  std::map<std::string, std::string> environment;  // added to the test's own
  std::optional<uid_t> user;                       // the child's user and group, where the test runs as root
  bool nonBlocking = false;                        // the child's ends of the three standard streams are
  /// How many threads the child's user may have in all. It is another user then, or the same one in a namespace of its
  /// own, so that no other process counts.
  std::optional<unsigned> threadLimit;
  std::chrono::milliseconds timeLimit{30'000};
};

struct ProcessResult {
  std::optional<int> exitStatus;  // absent where a signal ended the child
  std::optional<int> signal;
  bool timedOut = false;  // the child was killed at the time limit
  std::string standardOutput;
  std::string standardError;
  std::chrono::milliseconds duration{0};
};

/// Runs `program` until it ends or the time limit kills it with all its children. Raises std::system_error when it
/// cannot be started.
ProcessResult runProcess(const std::filesystem::path& program, const ProcessOptions& options);

}  // namespace quellor::test_support
