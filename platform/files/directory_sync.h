#pragma once
#include <string>

namespace quellor {

/// Has the directory that holds `path` written to the disk, so that a name that was just made or moved there outlasts
/// a loss of power. A file system that cannot do that, or a directory that cannot be read, is left as it is: the file
/// itself is in place by then.
void syncDirectoryOf(const std::string& path);

}  // namespace quellor
