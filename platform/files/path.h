#pragma once
#include <string>

namespace quellor {

/// Whether the operating system can be asked about `path` at all: it would end an embedded NUL's path there and
/// answer for another file.
inline bool isUsablePath(const std::string& path) { return !path.empty() && path.find('\0') == std::string::npos; }

/// The name that `path` ends in, without the slashes around it: "b" for "a/b/". A path of slashes alone is its own.
std::string lastPathComponent(const std::string& path);

/// The directory that holds what `path` names, without a slash at its end: "a" for "a/b", "/" for "/b", and "." for a
/// bare name.
std::string parentDirectory(const std::string& path);

/// `name` in `directory`, with exactly one slash between them.
std::string joinPath(const std::string& directory, const std::string& name);

}  // namespace quellor
