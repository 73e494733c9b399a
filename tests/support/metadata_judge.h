#pragma once
#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/support/judges.h"
#include "tests/support/process.h"

/// What an independent metadata reader, exiftool, tells of files.
namespace quellor::test_support {

inline constexpr const char* kMetadataJudge = "exiftool";

using Tags = std::map<std::string, std::string>;  // by "group:tag", values as the judge writes them

inline std::string groupOf(const std::string& key) { return key.substr(0, key.find(':')); }

/// What the judge tells of the files in a folder, by file name, but for what it says of files as such.
inline std::map<std::string, Tags> judgedFiles(const std::filesystem::path& folder) {
  ProcessOptions options;
  options.arguments = {"-j", "-G1", "-a", "-u", "-n", "-b", "-struct", folder.string()};
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

}  // namespace quellor::test_support
