// The half of the file manager that changes files: moving, removing, writing whole.

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/file_manager.h"
#include "tests/support/temporary_directory.h"

namespace quellor {
namespace {

using test_support::TemporaryDirectory;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class FileWriting : public ::testing::Test {
 protected:
  [[nodiscard]] std::string path(const std::string& name) const { return (folder_.path() / name).string(); }

  [[nodiscard]] std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }

  static std::string read(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  [[nodiscard]] std::vector<std::string> names(const std::string& folder = ".") const {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path() / folder)) {
      result.push_back(entry.path().filename().string());
    }
    return result;
  }

  void writeAtomically(const std::string& file, const std::vector<std::string>& texts) const {
    std::vector<ByteView> parts;
    for (const std::string& text : texts) {
      parts.emplace_back(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }
    files_.writeAtomically(file, parts);
  }

  [[nodiscard]] std::string writingFailure(const std::string& file) const {
    try {
      writeAtomically(file, {"text"});
      return "nothing";
    } catch (const FileError& error) {
      return error.what();
    }
  }

  [[nodiscard]] std::string movingFailure(const std::string& from, const std::string& to) const {
    try {
      files_.moveItem(from, to);
      return "nothing";
    } catch (const FileError& error) {
      return error.what();
    }
  }

  /// The name of the temporary folder, which messages name.
  [[nodiscard]] std::string folderName() const { return folder_.path().filename().string(); }

  PosixFileManager files_;

 private:
  TemporaryDirectory folder_;
};

/// Runs `test` in a child process and returns its exit status, or the negative number of the signal that ended it.
template <typename Test>
int inChild(Test test) {
  const pid_t child = fork();
  if (child == 0) _exit(test());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// Makes renameat2() fail with `error` for the rest of this process, as it does where it is not known.
bool refuseRenameat2(int error) {
  const auto instruction = [](unsigned code, std::uint32_t value, unsigned ifTrue, unsigned ifFalse) {
    return sock_filter{static_cast<std::uint16_t>(code), static_cast<std::uint8_t>(ifTrue),
                       static_cast<std::uint8_t>(ifFalse), value};
  };
  sock_filter filter[] = {
      instruction(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr), 0, 0),
      instruction(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 1),
      instruction(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error), 0, 0),
      instruction(BPF_RET | BPF_K, SECCOMP_RET_ALLOW, 0, 0),
  };
  const sock_fprog program{4, filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// Readability.

TEST_F(FileWriting, ReadabilityIsThatOfTheEffectiveUser) {
  const std::string open = write("open", "text");
  const std::string closed = write("closed", "text");
  ASSERT_EQ(chmod(closed.c_str(), 0), 0);
  ASSERT_EQ(chmod(path(".").c_str(), 0755), 0);
  EXPECT_TRUE(files_.isReadable(open));
  EXPECT_FALSE(files_.isReadable(path("nothing")));
  EXPECT_FALSE(files_.isReadable(""));
  EXPECT_FALSE(files_.isReadable(open + std::string("\0x", 2)));
  // The real user stays the same: only the effective one must count.
  EXPECT_EQ(inChild([&] {
              if (geteuid() == 0 && seteuid(65534) != 0) return 77;
              return files_.isReadable(open) && !files_.isReadable(closed) ? 0 : 1;
            }),
            0);
}

// Removing.

TEST_F(FileWriting, RemovesAFile) {
  const std::string file = write("a", "text");
  files_.removeItem(file);
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(FileWriting, RemovingNothingIsAFailure) {
  try {
    files_.removeItem(path("a.part"));
    FAIL() << "nothing was raised";
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "The file “a.part” couldn’t be removed: there is no such file.");
  }
  EXPECT_THROW(files_.removeItem(""), FileError);
  EXPECT_THROW(files_.removeItem(write("a", "text") + std::string(1, '\0')), FileError);
  EXPECT_THAT(names(), ElementsAre("a"));
}

// Moving.

TEST_F(FileWriting, MovesAFile) {
  const std::string from = write("a", "text");
  files_.moveItem(from, path("b"));
  EXPECT_THAT(names(), ElementsAre("b"));
  EXPECT_EQ(read(path("b")), "text");
}

TEST_F(FileWriting, MovesToARelativePath) {
  const std::string from = write("a", "text");
  EXPECT_EQ(inChild([&] {
              if (chdir(path(".").c_str()) != 0) return 77;
              files_.moveItem("./a", "b");
              return 0;
            }),
            0);
  EXPECT_THAT(names(), ElementsAre("b"));
}

TEST_F(FileWriting, NeverMovesOntoAnything) {
  const std::string from = write("from", "new");
  const std::string file = write("file", "old");
  std::filesystem::create_directory(path("directory"));
  std::filesystem::create_symlink(path("nothing"), path("dangling"));
  std::filesystem::create_symlink(file, path("link"));
  for (const char* name : {"file", "directory", "dangling", "link"}) {
    EXPECT_EQ(movingFailure(from, path(name)), "The file “" + std::string(name) +
                                                   "” couldn’t be saved in the folder “" + folderName() +
                                                   "”: a file with that name already exists.");
  }
  EXPECT_EQ(read(from), "new");
  EXPECT_EQ(read(file), "old");
  EXPECT_TRUE(std::filesystem::is_symlink(path("dangling")));
}

TEST_F(FileWriting, ReportsAMoveIntoNoDirectory) {
  const std::string from = write("a", "text");
  EXPECT_EQ(movingFailure(from, path("out/b.heic")),
            "The file “b.heic” couldn’t be saved in the folder “out”: no such directory.");
  EXPECT_EQ(movingFailure(from, ""), "The file “” couldn’t be saved in the folder “.”: no such directory.");
  EXPECT_NE(movingFailure(from, path("b") + std::string(1, '\0')), "nothing");
  EXPECT_THAT(names(), ElementsAre("a"));
}

TEST_F(FileWriting, MovesWhereRenameCannotRefuse) {
  for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP}) {
    const std::string from = write("from", "new");
    const std::string taken = write("taken", "old");
    EXPECT_EQ(inChild([&] {
                if (!refuseRenameat2(error)) return 77;
                if (movingFailure(from, taken) == "nothing" || read(taken) != "old" || read(from) != "new") return 1;
                return movingFailure(from, path("to")) == "nothing" ? 0 : 2;
              }),
              0)
        << error;
    EXPECT_THAT(names(), UnorderedElementsAre("taken", "to"));
    EXPECT_EQ(read(path("to")), "new");
    std::filesystem::remove(path("to"));
  }
}

TEST_F(FileWriting, DoesNotTryAnotherWayAfterARealFailureOfRename) {
  const std::string from = write("from", "new");
  EXPECT_EQ(inChild([&] {
              if (!refuseRenameat2(EIO)) return 77;
              return movingFailure(from, path("to")) == "nothing" ? 1 : 0;
            }),
            0);
  EXPECT_THAT(names(), ElementsAre("from"));
}

// Writing whole.

TEST_F(FileWriting, WritesThePartsOneAfterTheOther) {
  writeAtomically(path("a"), {"head", "", "pixels"});
  EXPECT_EQ(read(path("a")), "headpixels");
  EXPECT_THAT(names(), ElementsAre("a")) << "no temporary file";
}

TEST_F(FileWriting, WritesAnEmptyFileOfNoParts) {
  writeAtomically(path("a"), {});
  writeAtomically(path("b"), {"", ""});
  EXPECT_EQ(files_.attributesOfItem(path("a")).size, 0);
  EXPECT_EQ(files_.attributesOfItem(path("b")).size, 0);
}

TEST_F(FileWriting, WritesMorePartsThanOneCallTakes) {
  std::vector<std::string> parts;
  std::string whole;
  for (int i = 0; i < 3000; ++i) {
    parts.push_back(std::to_string(i));
    whole += parts.back();
  }
  writeAtomically(path("a"), parts);
  EXPECT_EQ(read(path("a")), whole);
}

TEST_F(FileWriting, WritesManyMegabytes) {
  const std::string large(50'000'000, 'p');
  writeAtomically(path("a"), {"head", large});
  EXPECT_EQ(files_.attributesOfItem(path("a")).size, 50'000'004);
  EXPECT_EQ(read(path("a")).substr(0, 6), "headpp");
}

TEST_F(FileWriting, ReplacesWhatIsThere) {
  const std::string file = write("a", "a much longer text than the new one");
  writeAtomically(file, {"new"});
  EXPECT_EQ(read(file), "new");
  EXPECT_THAT(names(), ElementsAre("a"));
}

TEST_F(FileWriting, GivesTheDefaultPermissions) {
  for (const mode_t mask : {mode_t{022}, mode_t{077}, mode_t{0}}) {
    const mode_t former = umask(mask);
    writeAtomically(path("a"), {"text"});
    umask(former);
    struct stat status {};
    ASSERT_EQ(stat(path("a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0666 & ~mask);
  }
}

TEST_F(FileWriting, WritesBesideARelativePath) {
  EXPECT_EQ(inChild([&] {
              if (chdir(path(".").c_str()) != 0) return 77;
              writeAtomically("a.raw", {"text"});
              return 0;
            }),
            0);
  EXPECT_THAT(names(), ElementsAre("a.raw"));
}

TEST_F(FileWriting, ReportsAMissingDirectory) {
  EXPECT_EQ(writingFailure(path("out/a.raw")),
            "The file “a.raw” couldn’t be saved in the folder “out”: no such directory.");
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(FileWriting, ReportsAPathThatLeadsThroughAFile) {
  (void)write("out", "text");
  EXPECT_EQ(writingFailure(path("out/a.raw")),
            "The file “a.raw” couldn’t be saved in the folder “out”: a part of its path is not a directory.");
}

TEST_F(FileWriting, LeavesNothingWhenADirectoryIsInTheWay) {
  std::filesystem::create_directory(path("a.raw"));
  EXPECT_EQ(writingFailure(path("a.raw")),
            "The file “a.raw” couldn’t be saved in the folder “" + folderName() + "”: it is a directory.");
  EXPECT_THAT(names(), ElementsAre("a.raw"));
}

TEST_F(FileWriting, ReportsADirectoryWithoutPermission) {
  std::filesystem::create_directory(path("out"));
  ASSERT_EQ(chmod(path("out").c_str(), 0555), 0);
  ASSERT_EQ(chmod(path(".").c_str(), 0755), 0);
  EXPECT_EQ(inChild([&] {
              if (geteuid() == 0 && seteuid(65534) != 0) return 77;
              return writingFailure(path("out/a.raw")) ==
                             "The file “a.raw” couldn’t be saved in the folder “out”: permission is denied."
                         ? 0
                         : 1;
            }),
            0);
  EXPECT_THAT(names("out"), IsEmpty());
}

TEST_F(FileWriting, ReportsPathsThatNameNothing) {
  EXPECT_NE(writingFailure(""), "nothing");
  EXPECT_NE(writingFailure(path("a") + std::string(1, '\0')), "nothing");
  EXPECT_NE(writingFailure(path("a/")), "nothing");
  EXPECT_NE(writingFailure(path(std::string(300, 'n'))), "nothing");
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(FileWriting, DescribesAPathWithANulCharacterToItsEnd) {
  const std::string name("a\0b.raw", 7);
  const std::string reason = "couldn’t be saved in the folder “" + folderName() + "”: no file can have that name.";
  const std::string expected = "The file “" + name + "” " + reason;
  try {
    writeAtomically(path(name), {"text"});
    FAIL() << "nothing was raised";
  } catch (const FileError& error) {
    EXPECT_EQ(error.description(), expected);
  }
  try {
    files_.moveItem(write("from", "text"), path(name));
    FAIL() << "nothing was raised";
  } catch (const FileError& error) {
    EXPECT_EQ(error.description(), expected);
  }
  EXPECT_THAT(names(), ElementsAre("from"));
}

TEST_F(FileWriting, LeavesNothingAndChangesNothingWhenTheFileGrowsTooLarge) {
  const std::string old = write("a.raw", "old");
  EXPECT_EQ(inChild([&] {
              const rlimit limit{100'000, 100'000};
              if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 77;
              std::signal(SIGXFSZ, SIG_IGN);
              try {
                writeAtomically(old, {"head", std::string(100'000, 'p')});
                return 1;
              } catch (const FileError& error) {
                return std::string(error.what()).ends_with("”: the file would be too large.") ? 0 : 2;
              }
            }),
            0);
  EXPECT_THAT(names(), ElementsAre("a.raw"));
  EXPECT_EQ(read(old), "old");
}

TEST_F(FileWriting, LeavesNothingOnAFullDisk) {
  // A file system of one page, in a mount namespace of its own.
  const int status = inChild([&] {
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
    if (mount("none", path(".").c_str(), "tmpfs", 0, "size=64k") != 0) return 77;
    try {
      writeAtomically(path("a.raw"), {"head", std::string(200'000, 'p')});
      return 1;
    } catch (const FileError& error) {
      if (!std::string(error.what()).ends_with("”: there is no space left.")) return 2;
    }
    return names().empty() ? 0 : 3;
  });
  if (status == 77) GTEST_SKIP() << "not allowed to mount anything";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace quellor
