#pragma once
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/support/request.h"

/// What tests of the four operations that write a file, run by the built program, have in common.
namespace quellor::test_support {

inline constexpr const char* kEncodeCandidate = "encode-candidate";
inline constexpr const char* kRewriteFromSource = "rewrite-from-source";
inline constexpr const char* kRewriteDecoded = "rewrite-decoded-image";
inline constexpr const char* kExport = "export-storage-pixels";

/// A request to write `output`, with a quality where one is required.
inline nlohmann::json writingRequest(const std::string& operation, const std::filesystem::path& input,
                                     const std::filesystem::path& output) {
  nlohmann::json wanted = request(operation, input);
  wanted["outputPath"] = output.string();
  if (operation == kEncodeCandidate) wanted["quality"] = 0.5;
  return wanted;
}

/// Every entry below a folder: its content, where a link leads, or "directory".
inline std::map<std::string, std::string> snapshotOf(const std::filesystem::path& folder) {
  std::map<std::string, std::string> entries;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    std::string& is = entries[entry.path().lexically_relative(folder).string()];
    if (entry.is_symlink()) {
      is = "link to " + std::filesystem::read_symlink(entry.path()).string();
    } else if (entry.is_directory()) {
      is = "directory";
    } else {
      std::ifstream stream(entry.path(), std::ios::binary);
      is.assign(std::istreambuf_iterator<char>(stream), {});
    }
  }
  return entries;
}

/// The name of an operation as a parameterised test may have it.
inline std::string testNameOf(std::string operation) {
  std::replace(operation.begin(), operation.end(), '-', '_');
  return operation;
}

}  // namespace quellor::test_support
