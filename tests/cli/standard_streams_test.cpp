#include "cli/standard_streams.h"

#include <fcntl.h>
#include <limits>
#include <string>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

namespace quellor {
namespace {

/// Standard input as long as it lives: a pipe into which `text` is written.
class StandardInput {
 public:
  explicit StandardInput(std::string text) : saved_(dup(STDIN_FILENO)) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe(ends), 0);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    writer_ = std::thread([text = std::move(text), end = ends[1]] {
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
  emitJSON(response);
  return ::testing::internal::GetCapturedStdout();
}

TEST(ReadStdinJSON, ReadsToTheEndWhateverTheSize) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{65536}, std::size_t{65537}, std::size_t{1'000'000}}) {
    const StandardInput input(std::string(size, 'x'));
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

}  // namespace
}  // namespace quellor
