#include "platform/file_manager.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/file_error.h"
#include "platform/path.h"

namespace quellor {

bool PosixFileManager::fileExists(const std::string& path) const {
  struct stat status {};
  return isUsablePath(path) && stat(path.c_str(), &status) == 0;
}

FileAttributes PosixFileManager::attributesOfItem(const std::string& path) const {
  struct stat status {};
  const int error = !isUsablePath(path) ? ENOENT : stat(path.c_str(), &status) == 0 ? 0 : errno;
  if (error != 0) throw cannotOpen(path, error);
  return {std::int64_t{status.st_size}};
}

bool PosixFileManager::isReadable(const std::string& path) const {
  return isUsablePath(path) && faccessat(AT_FDCWD, path.c_str(), R_OK, AT_EACCESS) == 0;
}

void PosixFileManager::removeItem(const std::string& path) const {
  const int error = !isUsablePath(path) ? ENOENT : unlink(path.c_str()) == 0 ? 0 : errno;
  if (error != 0) throw cannotRemove(path, error);
}

}  // namespace quellor
