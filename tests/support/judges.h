#pragma once
#include <filesystem>
#include <string>

/// The independent programs that judge what the program makes: exiftool, convert (ImageMagick), heif-dec, heif-info.
namespace quellor::test_support {

/// Where the judge is; empty where this machine has none.
std::filesystem::path judge(const std::string& name);

/// Whether the judge is there. Where it is not, the test that runs is skipped, and with CI set in the environment it
/// fails: a run that has to prove something has all judges. To be asked at the beginning of a test or of its SetUp(),
/// which ends on false.
[[nodiscard]] bool requireJudge(const std::string& name);

}  // namespace quellor::test_support
