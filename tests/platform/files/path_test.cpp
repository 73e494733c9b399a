#include "platform/files/path.h"

#include <regex>
#include <set>

#include <gtest/gtest.h>

#include "platform/files/uuid.h"

namespace quellor {
namespace {

TEST(Path, IsTakenApartIntoDirectoryAndName) {
  const struct {
    const char* path;
    const char* directory;
    const char* name;
  } cases[] = {
      {"/photos/out/a.heic", "/photos/out", "a.heic"},
      {"out/a.heic", "out", "a.heic"},
      {"a.heic", ".", "a.heic"},
      {"/a.heic", "/", "a.heic"},
      {"//a.heic", "/", "a.heic"},
      {"./a.heic", ".", "a.heic"},
      {"../a.heic", "..", "a.heic"},
      {"/photos//out///a.heic", "/photos//out", "a.heic"},
      {"/photos/out/", "/photos", "out"},
      {"out//", ".", "out"},
      {"/", "/", "/"},
      {"//", "/", "//"},
      {"", ".", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(parentDirectory(c.path), c.directory) << c.path;
    EXPECT_EQ(lastPathComponent(c.path), c.name) << c.path;
  }
}

TEST(Path, IsJoinedWithOneSlash) {
  EXPECT_EQ(joinPath("/a/b", "c"), "/a/b/c");
  EXPECT_EQ(joinPath("/", "c"), "/c");
  EXPECT_EQ(joinPath(".", "c"), "./c");
}

TEST(RandomUuid, HasTheFormOfVersion4InUppercase) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  for (int i = 0; i < 100; ++i) {
    const std::string uuid = randomUuid();
    EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
  }
}

TEST(RandomUuid, IsAnotherOneEveryTime) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) seen.insert(randomUuid());
  EXPECT_EQ(seen.size(), 1000u);
}

}  // namespace
}  // namespace quellor
