#include "platform/file_error.h"

#include <cerrno>
#include <system_error>

#include "platform/path.h"

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

}  // namespace

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

}  // namespace quellor
