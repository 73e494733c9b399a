#pragma once
#include <string>

namespace quellor::files {

/// Moves `from` to `to`, atomically refusing anything that exists there (a dangling link, too); afterwards the
/// directory is synced. Returns an errno value, with `from` still in place, or 0.
int moveWithoutReplacing(const std::string& from, const std::string& to);

}  // namespace quellor::files
