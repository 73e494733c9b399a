#pragma once
#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/support/judges.h"
#include "tests/support/process.h"

/// What an independent metadata reader, exiftool, tells of files.
namespace quellor::test_support {

inline constexpr const char* kMetadataJudge = "exiftool";

using Tags = std::map<std::string, std::string>;  // by "group:tag", values as the judge writes them

inline std::string groupOf(const std::string& key) { return key.substr(0, key.find(':')); }

/// What the judge tells of files, and of those in folders, by file name, but for what it says of files as such.
inline std::map<std::string, Tags> judgedFiles(const std::vector<std::filesystem::path>& paths) {
  ProcessOptions options;
  options.arguments = {"-j", "-G1", "-a", "-u", "-n", "-b", "-struct"};
  for (const auto& path : paths) options.arguments.push_back(path.string());
  options.timeLimit = std::chrono::seconds(100);
  const auto result = runProcess(judge(kMetadataJudge), options);
  std::map<std::string, Tags> files;
  for (const auto& file : nlohmann::json::parse(result.standardOutput)) {
    Tags& tags = files[std::filesystem::path(file.at("SourceFile").get<std::string>()).filename().string()];
    for (const auto& [key, value] : file.items()) {
      static const std::set<std::string> kOfTheFile = {"SourceFile", "System", "File", "Composite", "ExifTool"};
      if (kOfTheFile.contains(groupOf(key))) continue;
      tags[key] = value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
  }
  return files;
}

inline std::map<std::string, Tags> judgedFiles(const std::filesystem::path& folder) {
  return judgedFiles(std::vector<std::filesystem::path>{folder});
}

}  // namespace quellor::test_support
