#include "platform/files/path.h"

namespace quellor {
namespace {

/// Where the last component of `path` starts and where the slashes behind it do. `path` is not slashes alone.
struct Extent {
  std::size_t start;
  std::size_t end;
};

Extent lastComponentOf(const std::string& path) {
  const std::size_t last = path.find_last_not_of('/');
  const std::size_t slash = path.find_last_of('/', last);
  return {slash == std::string::npos ? 0 : slash + 1, last + 1};
}

bool isOnlySlashes(const std::string& path) { return path.find_first_not_of('/') == std::string::npos; }

/// Without the slashes at its end; one is left of slashes alone.
std::string withoutTrailingSlashes(const std::string& path) {
  const std::size_t last = path.find_last_not_of('/');
  return path.substr(0, last == std::string::npos ? 1 : last + 1);
}

}  // namespace

std::string lastPathComponent(const std::string& path) {
  if (isOnlySlashes(path)) return path;
  const Extent component = lastComponentOf(path);
  return path.substr(component.start, component.end - component.start);
}

std::string parentDirectory(const std::string& path) {
  if (path.empty()) return ".";
  if (isOnlySlashes(path)) return "/";
  const std::size_t start = lastComponentOf(path).start;
  return start == 0 ? "." : withoutTrailingSlashes(path.substr(0, start));
}

std::string joinPath(const std::string& directory, const std::string& name) {
  return directory.ends_with('/') ? directory + name : directory + "/" + name;
}

}  // namespace quellor
