#include "platform/file_manager.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "platform/files/durable_files.h"
#include "platform/files/path.h"

namespace quellor {
namespace {

std::string reasonFor(const std::string& path, int error, const char* reasonForNothingThere) {
  if (path.find('\0') != std::string::npos) return "no file can have that name";
  switch (error) {
    case ENOENT:
      return reasonForNothingThere;
    case EACCES:
    case EPERM:
      return "permission is denied";
    case EROFS:
      return "the file system is read-only";
    case ENOSPC:
    case EDQUOT:
      return "there is no space left";
    case EFBIG:
      return "the file would be too large";
    case ENAMETOOLONG:
      return "the name is too long";
    case ENOTDIR:
      return "a part of its path is not a directory";
    case EISDIR:
      return "it is a directory";
    case EEXIST:
      return "a file with that name already exists";
    default:
      return std::generic_category().message(error);
  }
}

std::string quoted(const std::string& name) { return "“" + name + "”"; }

FileError cannotOpen(const std::string& path, int error) {
  return FileError("The file " + quoted(lastPathComponent(path)) +
                   " couldn’t be opened: " + reasonFor(path, error, "there is no such file") + ".");
}

FileError cannotSave(const std::string& path, int error) {
  return FileError("The file " + quoted(lastPathComponent(path)) + " couldn’t be saved in the folder " +
                   quoted(lastPathComponent(parentDirectory(path))) + ": " +
                   reasonFor(path, error, "no such directory") + ".");
}

FileError cannotRemove(const std::string& path, int error) {
  return FileError("The file " + quoted(lastPathComponent(path)) +
                   " couldn’t be removed: " + reasonFor(path, error, "there is no such file") + ".");
}

}  // namespace

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

void PosixFileManager::moveItem(const std::string& from, const std::string& to) const {
  const int error = files::moveWithoutReplacing(from, to);
  if (error != 0) throw cannotSave(to, error);
}

void PosixFileManager::writeAtomically(const std::string& path, std::span<const ByteView> parts) const {
  const int error = files::writeAtomically(path, parts);
  if (error != 0) throw cannotSave(path, error);
}

}  // namespace quellor
