#include "platform/file_manager.h"

#include <cerrno>
#include <sys/stat.h>
#include <system_error>

#include "platform/path.h"

namespace quellor {
namespace {

std::string lastComponent(const std::string& path) {
  const std::size_t end = path.find_last_not_of('/');
  if (end == std::string::npos) return path;
  const std::size_t slash = path.find_last_of('/', end);
  const std::size_t start = slash == std::string::npos ? 0 : slash + 1;
  return path.substr(start, end - start + 1);
}

std::string reasonFor(int error) {
  switch (error) {
    case ENOENT:
      return "there is no such file";
    case EACCES:
      return "permission is denied";
    default:
      return std::generic_category().message(error);
  }
}

}  // namespace

bool PosixFileManager::fileExists(const std::string& path) const {
  struct stat status {};
  return isUsablePath(path) && stat(path.c_str(), &status) == 0;
}

FileAttributes PosixFileManager::attributesOfItem(const std::string& path) const {
  struct stat status {};
  const int error = !isUsablePath(path) ? ENOENT : stat(path.c_str(), &status) == 0 ? 0 : errno;
  if (error != 0)
    throw FileError("The file “" + lastComponent(path) + "” couldn’t be opened: " + reasonFor(error) + ".");
  return {std::int64_t{status.st_size}};
}

}  // namespace quellor
