#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/file_manager.h"
#include "platform/files/regular_file.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::TemporaryDirectory;
using ::testing::HasSubstr;

class FileSystem : public ::testing::Test {
 protected:
  [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }

  PosixFileManager files_;

 private:
  TemporaryDirectory folder_;
};

TEST_F(FileSystem, ExistenceFollowsSymbolicLinks) {
  const std::string file = write("a", "text");
  std::filesystem::create_symlink(file, path("link"));
  std::filesystem::create_symlink(path("nothing"), path("dangling"));
  EXPECT_TRUE(files_.fileExists(file));
  EXPECT_TRUE(files_.fileExists(path("link")));
  EXPECT_TRUE(files_.fileExists(path("."))) << "a directory";
  EXPECT_FALSE(files_.fileExists(path("dangling")));
  EXPECT_FALSE(files_.fileExists(path("nothing")));
}

TEST_F(FileSystem, EmptyPathsAndPathsWithANulExistNowhere) {
  const std::string file = write("a", "text");
  EXPECT_FALSE(files_.fileExists(""));
  EXPECT_FALSE(files_.fileExists(file + std::string("\0.heic", 6)));
  EXPECT_THROW((void)files_.attributesOfItem(file + std::string(1, '\0')), FileError);
  EXPECT_FALSE(RegularFile::open(file + std::string(1, '\0')));
  EXPECT_FALSE(RegularFile::open(""));
}

TEST_F(FileSystem, AttributesHaveTheSizeInBytes) {
  EXPECT_EQ(files_.attributesOfItem(write("a", "12345")).size, 5);
  EXPECT_EQ(files_.attributesOfItem(write("empty", "")).size, 0);
}

TEST_F(FileSystem, FailuresNameTheFileAndTheReason) {
  try {
    (void)files_.attributesOfItem(path("a.heic"));
    FAIL() << "nothing was raised";
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "The file “a.heic” couldn’t be opened: there is no such file.");
  }
}

TEST_F(FileSystem, ARegularFileIsReadWhole) {
  const auto file = RegularFile::open(write("a", "some text"));
  ASSERT_TRUE(file);
  EXPECT_EQ(file->head(4), Bytes({'s', 'o', 'm', 'e'}));
  EXPECT_EQ(file->head(100).size(), 9u);
  const auto contents = file->contents(9);
  ASSERT_TRUE(contents);
  EXPECT_EQ(std::string(contents->view().begin(), contents->view().end()), "some text");
}

TEST_F(FileSystem, ContentsAreAbsentForEmptyAndForTooLargeFiles) {
  EXPECT_FALSE(RegularFile::open(write("empty", ""))->contents(100));
  EXPECT_FALSE(RegularFile::open(write("a", "12345"))->contents(4));
}

TEST_F(FileSystem, AnythingButARegularFileIsNotOpenedAndNeverWaitedFor) {
  EXPECT_FALSE(RegularFile::open(path("."))) << "a directory";
  ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
  EXPECT_FALSE(RegularFile::open(path("fifo"))) << "a FIFO without a writer";
  EXPECT_FALSE(RegularFile::open("/dev/null")) << "a device";
  EXPECT_FALSE(RegularFile::open(path("nothing")));

  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = path("socket");
  ASSERT_LT(name.size(), sizeof address.sun_path);
  name.copy(address.sun_path, name.size());
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_FALSE(RegularFile::open(name)) << "a socket";
  close(listener);
}

}  // namespace
}  // namespace quellor
