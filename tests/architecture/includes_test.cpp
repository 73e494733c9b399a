// Which folder may include which: the dependencies point one way, and every library is included from one folder only.

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace quellor {
namespace {

namespace fs = std::filesystem;

using Folders = std::set<std::string>;

/// Each folder uses itself, and only what is named here. A folder stands below all that name it; a new line is a
/// decision about the structure, and one that points upwards cannot be had.
const std::vector<std::pair<std::string, Folders>> kMayUse = {
    {"platform/values", {}},
    {"platform/files", {"platform/values"}},
    {"platform/threads", {}},
    {"platform/metadata", {"platform/values"}},
    {"platform/color", {"platform/values"}},
    {"platform/heif", {"platform/values", "platform/metadata"}},
    {"platform/hevc", {"platform/values"}},
    {"platform/pixels", {"platform/values", "platform/threads"}},
    {"platform/formats",
     {"platform/values", "platform/threads", "platform/metadata", "platform/heif", "platform/hevc", "platform/pixels"}},
    {"platform",
     {"platform/values", "platform/files", "platform/metadata", "platform/color", "platform/heif", "platform/pixels",
      "platform/formats"}},
    {"protocol", {"platform"}},
    {"observe", {"protocol", "platform", "platform/values"}},
    {"rewrite", {"protocol", "observe", "platform", "platform/files"}},
    {"storage", {"protocol", "observe", "platform"}},
    {"cli", {"protocol", "observe", "rewrite", "storage", "platform", "platform/files"}},
};

/// The one folder that includes a library's headers, by what their names begin with.
const std::map<std::string, std::string> kLibraries = {
    {"dav1d/", "platform/formats"},     {"gif_lib.h", "platform/formats"},    {"jpeglib.h", "platform/formats"},
    {"jerror.h", "platform/formats"},   {"lcms2", "platform/color"},          {"libavcodec/", "platform/formats"},
    {"libavutil/", "platform/formats"}, {"libdeflate.h", "platform/formats"}, {"nettle/", "platform/values"},
    {"nlohmann/", "protocol"},          {"png.h", "platform/formats"},        {"pugixml.hpp", "platform/metadata"},
    {"tiff", "platform/formats"},       {"webp/", "platform/formats"},        {"x265.h", "platform/formats"},
    {"zimg.h", "platform/pixels"},
};

/// Headers of the operating system; those of the language have no ending.
const std::set<std::string> kSystemHeaders = {"dlfcn.h",    "fcntl.h",       "poll.h",      "pthread.h", "sys/random.h",
                                              "sys/stat.h", "sys/syscall.h", "sys/types.h", "sys/uio.h", "unistd.h"};

struct Include {
  std::string file;    // that includes
  std::string folder;  // of the file
  std::string header;
  bool quoted;
};

std::optional<Include> includeIn(const std::string& line, const std::string& file) {
  if (!line.starts_with("#include ")) return std::nullopt;
  const std::size_t begin = line.find_first_of("\"<");
  const std::size_t end = line.find_first_of("\">", begin + 1);
  if (end == std::string::npos) return std::nullopt;
  return Include{file, fs::path(file).parent_path(), line.substr(begin + 1, end - begin - 1), line[begin] == '"'};
}

/// All includes of the program's sources.
std::vector<Include> allIncludes() {
  std::vector<Include> includes;
  const fs::path root = QUELLOR_SOURCES;
  for (const char* top : {"cli", "protocol", "observe", "rewrite", "storage", "platform"}) {
    for (const auto& entry : fs::recursive_directory_iterator(root / top)) {
      const auto ending = entry.path().extension();
      if (ending != ".cpp" && ending != ".h") continue;
      std::ifstream source(entry.path());
      for (std::string line; std::getline(source, line);) {
        if (const auto include = includeIn(line, fs::relative(entry.path(), root))) includes.push_back(*include);
      }
    }
  }
  return includes;
}

std::string libraryOf(const std::string& header) {
  for (const auto& [prefix, folder] : kLibraries) {
    if (header.starts_with(prefix)) return prefix;
  }
  return {};
}

TEST(Folders, StandAboveAllThatTheyMayUse) {
  Folders below;
  for (const auto& [folder, used] : kMayUse) {
    for (const std::string& each : used) EXPECT_TRUE(below.contains(each)) << folder << " may not use " << each;
    below.insert(folder);
  }
}

TEST(Folders, IncludeOnlyWhatTheyMayUse) {
  const std::map<std::string, Folders> mayUse(kMayUse.begin(), kMayUse.end());
  std::size_t seen = 0;
  for (const Include& include : allIncludes()) {
    if (!include.quoted) continue;
    const std::string target = fs::path(include.header).parent_path();
    const auto folder = mayUse.find(include.folder);
    ASSERT_NE(folder, mayUse.end()) << include.folder << " is not in the table";
    EXPECT_TRUE(target == include.folder || folder->second.contains(target)) << include.file << ": " << include.header;
    ++seen;
  }
  EXPECT_GT(seen, 500U);
}

TEST(Folders, IncludeOnlyThePublicHeaderOfTheHevcSyntax) {
  for (const Include& include : allIncludes()) {
    if (!include.header.starts_with("platform/hevc/") || include.folder == "platform/hevc") continue;
    EXPECT_EQ(include.header, "platform/hevc/hevc.h") << include.file;
  }
}

TEST(Folders, UseEveryFolderThatTheyMay) {
  std::map<std::string, Folders> used;
  for (const Include& include : allIncludes()) {
    const std::string target = fs::path(include.header).parent_path();
    if (include.quoted && target != include.folder) used[include.folder].insert(target);
  }
  for (const auto& [folder, may] : kMayUse) EXPECT_EQ(used[folder], may) << folder << ": the table allows more";
}

TEST(Libraries, AreIncludedFromOneFolder) {
  Folders found;
  for (const Include& include : allIncludes()) {
    if (include.quoted || kSystemHeaders.contains(include.header)) continue;
    const bool ofTheLanguage =
        include.header.find('.') == std::string::npos && include.header.find('/') == std::string::npos;
    if (ofTheLanguage) continue;
    const std::string library = libraryOf(include.header);
    ASSERT_NE(library, "") << include.file << " includes " << include.header << ", which is not in the table";
    EXPECT_EQ(include.folder, kLibraries.at(library)) << include.file << ": " << include.header;
    found.insert(library);
  }
  EXPECT_EQ(found.size(), kLibraries.size()) << "a library of the table is not included any more";
}

}  // namespace
}  // namespace quellor
