// Inputs that are no ordinary files, and surroundings that must not matter.

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/corpus.h"
#include "tests/support/ordinary_user.h"
#include "tests/support/program.h"
#include "tests/support/request.h"
#include "tests/support/temporary_directory.h"
#include "tests/support/tiny_tiff.h"

namespace quellor {
namespace {

using nlohmann::json;
using test_support::ask;
using test_support::expectInputNotFound;
using test_support::expectNoImageSource;
using test_support::inspectRequest;
using test_support::ProcessOptions;
using test_support::tinyTiff;

class UnusualInput : public ::testing::Test {
 protected:
  UnusualInput() { options_.timeLimit = std::chrono::seconds(10); }

  [[nodiscard]] json inspect(const std::filesystem::path& path) const { return ask(inspectRequest(path), options_); }
  [[nodiscard]] std::filesystem::path at(const char* name) const { return directory_.path() / name; }

  test_support::TemporaryDirectory directory_;
  ProcessOptions options_;
};

TEST_F(UnusualInput, DirectoryIsNoImageSource) {
  expectNoImageSource(inspect(directory_.path()));
  expectNoImageSource(inspect("/"));
}

TEST_F(UnusualInput, FifoWithoutAWriterIsNoImageSource) {
  ASSERT_EQ(mkfifo(at("fifo").c_str(), 0600), 0);
  expectNoImageSource(inspect(at("fifo")));
}

TEST_F(UnusualInput, SocketIsNoImageSource) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = at("socket").string();
  if (path.size() >= sizeof address.sun_path) GTEST_SKIP() << "the temporary directory's path is too long";
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int socketEnd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(socketEnd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  expectNoImageSource(inspect(path));
  close(socketEnd);
}

TEST_F(UnusualInput, DeviceIsNoImageSource) {
  for (const char* device : {"/dev/zero", "/dev/null", "/dev/full", "/dev/urandom", "/dev/tty", "/dev/stdin"}) {
    SCOPED_TRACE(device);
    if (std::filesystem::exists(device)) expectNoImageSource(inspect(device));
  }
}

TEST_F(UnusualInput, SymbolicLinkIsFollowed) {
  std::filesystem::create_symlink(directory_.write("a.tiff", tinyTiff()), at("link"));
  std::filesystem::create_symlink(at("link"), at("link to link"));
  const json response = inspect(at("link to link"));
  ASSERT_EQ(response.value("success", false), true) << response;
  EXPECT_EQ(response["input"]["bytes"], tinyTiff().size());
}

TEST_F(UnusualInput, SymbolicLinkToNothingIsNotFound) {
  std::filesystem::create_symlink(at("nothing"), at("link"));
  expectInputNotFound(inspect(at("link")));
}

TEST_F(UnusualInput, SymbolicLinkToItselfIsNotFound) {
  std::filesystem::create_symlink(at("link"), at("link"));
  expectInputNotFound(inspect(at("link")));
}

/// Without the rights of root, which the tests may have and which open every file.
class InputWithoutPermission : public UnusualInput {
 protected:
  void SetUp() override {
    const auto options = test_support::asAnOrdinaryUser(directory_.write("readable.tiff", tinyTiff()), options_);
    if (!options) GTEST_SKIP() << "another user cannot run the program where it was built";
    options_ = *options;
  }
};

TEST_F(InputWithoutPermission, IsNoImageSourceWhereTheFileIsUnreadable) {
  const auto file = directory_.write("a.tiff", tinyTiff());
  std::filesystem::permissions(file, std::filesystem::perms::none);
  expectNoImageSource(inspect(file));
}

TEST_F(InputWithoutPermission, IsNotFoundWhereTheFolderCannotBeSearched) {
  std::filesystem::create_directory(at("closed"));
  const auto file = directory_.write("closed/a.tiff", tinyTiff());
  std::filesystem::permissions(at("closed"), std::filesystem::perms::none);
  expectInputNotFound(inspect(file));
  std::filesystem::permissions(at("closed"), std::filesystem::perms::owner_all);
}

TEST(Surroundings, OfTheProcessDoNotChangeAnAnswer) {
  std::vector<std::string> files = test_support::sampleFilesIn({"special"});
  for (const char* made : {"described-grid.heic", "described-by-canon.jpg", "av1-alpha.avif", "profile-own-space.heic",
                           "tiff-lzw.tiff", "png-palette.png", "webp-lossy.webp", "gif-plain.gif", "jpeg-cmyk.jpg"}) {
    files.push_back(std::string("made/") + made);
  }
  ProcessOptions options;
  const test_support::TemporaryDirectory empty;
  options.workingDirectory = empty.path();
  options.environment = {{"HOME", "/nonexistent"},
                         {"TMPDIR", "/nonexistent"},
                         {"LC_ALL", "tr_TR.UTF-8"},
                         {"LANG", "C"},
                         {"TZ", "nonsense"}};
  for (const std::string& file : files) {
    const json request = inspectRequest(test_support::sampleFile(file));
    json plain = ask(request);
    json changed = ask(request, options);
    plain.erase("elapsedMilliseconds");
    changed.erase("elapsedMilliseconds");
    EXPECT_EQ(changed, plain) << file;
  }
}

}  // namespace
}  // namespace quellor
