#include "cli/standard_streams.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

/// Standard input as long as it lives: a pipe into which `text` is written; one in non-blocking mode after a while.
class StandardInput {
 public:
  explicit StandardInput(std::string text, bool nonBlocking = false) : saved_(dup(STDIN_FILENO)) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    if (nonBlocking) fcntl(ends[0], F_SETFL, O_NONBLOCK);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    writer_ = std::thread([text = std::move(text), end = ends[1], nonBlocking] {
      if (nonBlocking) std::this_thread::sleep_for(std::chrono::milliseconds(50));
      std::size_t written = 0;
      while (written < text.size()) {
        const ssize_t count = write(end, text.data() + written, text.size() - written);
        if (count <= 0) break;
        written += static_cast<std::size_t>(count);
      }
      close(end);
    });
  }
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;
  ~StandardInput() {
    writer_.join();
    dup2(saved_, STDIN_FILENO);
    close(saved_);
  }

 private:
  int saved_;
  std::thread writer_;
};

std::string emitted(const HelperResponse& response) {
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(emitJSON(response), 0);
  return ::testing::internal::GetCapturedStdout();
}

TEST(ReadStdinJSON, ReadsToTheEndWhateverTheSize) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{65536}, std::size_t{65537}, std::size_t{1'000'000}}) {
    const StandardInput input(std::string(size, 'x'));
    EXPECT_EQ(readStdinJSON().size(), size);
  }
}

TEST(ReadStdinJSON, WaitsForWhatANonBlockingStreamDoesNotHaveYet) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{1'000'000}}) {
    const StandardInput input(std::string(size, 'x'), true);
    EXPECT_EQ(readStdinJSON().size(), size);
  }
}

TEST(ReadStdinJSON, DoesNotTakeWhiteSpaceForNothing) {
  const StandardInput input("\n");
  EXPECT_EQ(readStdinJSON(), std::vector<char>{'\n'});
}

TEST(ReadStdinJSON, RaisesInvalidRequestForNotASingleByte) {
  const StandardInput input("");
  try {
    readStdinJSON();
    FAIL() << "nothing was raised";
  } catch (const HelperFailure& failure) {
    EXPECT_EQ(failure.code, "invalid_request");
    EXPECT_EQ(failure.message, "empty stdin");
  }
}

TEST(EmitJSON, WritesOneLine) {
  EXPECT_EQ(emitted(HelperResponse::failed("o", {"c", "m"}, 3)),
            "{\"elapsedMilliseconds\":3,\"error\":{\"code\":\"c\",\"message\":\"m\"},\"operation\":\"o\","
            "\"protocolVersion\":1,\"success\":false}\n");
}

TEST(EmitJSON, WritesTheFixedDocumentWhenTheResponseCannotBeEncoded) {
  HelperResponse response;
  response.success = true;
  response.quality = std::numeric_limits<double>::infinity();
  EXPECT_EQ(emitted(response),
            "{\"success\":false,\"error\":{\"code\":\"internal_error\",\"message\":\"json encode failed\"}}\n");
}

TEST(EmitJSON, ReportsThatItsLineCannotBeWritten) {
  const int saved = dup(STDOUT_FILENO), full = open("/dev/full", O_WRONLY);
  dup2(full, STDOUT_FILENO);
  const int error = emitJSON(HelperResponse::failed("o", {"c", "m"}, 3));
  dup2(saved, STDOUT_FILENO);
  close(saved);
  close(full);
  EXPECT_EQ(error, ENOSPC);
}

/// What a child process that runs `body` writes to its standard output and standard error.
struct Written {
  explicit Written(const std::function<void()>& body) {
    const test_support::TemporaryDirectory folder;
    const std::string outputFile = folder.write("output", ""), errorFile = folder.write("error", "");
    const pid_t child = fork();
    if (child == 0) {
      dup2(open(outputFile.c_str(), O_WRONLY), STDOUT_FILENO);
      dup2(open(errorFile.c_str(), O_WRONLY), STDERR_FILENO);
      body();
      std::exit(0);  // which writes what is buffered
    }
    waitpid(child, &status, 0);
    output = read(outputFile);
    error = read(errorFile);
  }

  static std::string read(const std::string& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  std::string output, error;
  int status = 0;
};

TEST(TakenOverStreams, GiveOutOwnLinesOnly) {
  const Written written([] {
    takeOverStandardStreams();
    std::printf("buffered\n");
    (void)!write(STDOUT_FILENO, "unbuffered\n", 11);
#ifndef QUELLOR_SANITIZED  // standard error is the sanitizers'
    std::fprintf(stderr, "a warning\n");
    (void)!write(STDERR_FILENO, "another\n", 8);
#endif
    (void)emitJSON(HelperResponse::failed("o", {"c", "m"}, 3));
    writeToStandardError(std::string("usage\0!\n", 8));
  });
  EXPECT_TRUE(written.output.starts_with("{\"elapsed") && written.output.ends_with("false}\n")) << written.output;
  EXPECT_EQ(written.error, std::string("usage\0!\n", 8));
}

TEST(TakenOverStreams, LeaveNoNumberOfAStreamToTheNextFile) {
  const Written written([] {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(stream);
    takeOverStandardStreams();
    const int next = open("/dev/null", O_RDONLY);
    const int error = emitJSON(HelperResponse::failed("o", {"c", "m"}, 3));
    _exit(next > STDERR_FILENO && error == 0 ? 0 : 1);
  });
  EXPECT_EQ(written.status, 0);
}

}  // namespace
}  // namespace quellor
