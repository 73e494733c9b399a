#pragma once
#include <filesystem>
#include <optional>
#include <system_error>
#include <unistd.h>

#include "tests/support/program.h"
#include "tests/support/request.h"

namespace quellor::test_support {

/// `options` for a run without the rights of root, which the tests may have and which open every file and folder.
/// `image` and its folder are made readable for it. Absent where another user cannot run the program, as when it was
/// built in a folder that is closed to that user.
inline std::optional<ProcessOptions> asAnOrdinaryUser(const std::filesystem::path& image, ProcessOptions options = {}) {
  constexpr uid_t kNobody = 65534;
  if (geteuid() == 0) options.user = kNobody;
  std::filesystem::permissions(image.parent_path(), std::filesystem::perms(0755));
  std::filesystem::permissions(image, std::filesystem::perms(0644));
  try {
    if (runWithRequest(inspectRequest(image), options).exitStatus == 0) return options;
  } catch (const std::system_error&) {
    return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace quellor::test_support
