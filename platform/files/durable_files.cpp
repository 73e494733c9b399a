#include "platform/files/durable_files.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

#include "platform/files/descriptors.h"
#include "platform/files/path.h"
#include "platform/files/termination.h"
#include "platform/files/uuid.h"

namespace quellor::files {
namespace {

/// Makes the file at `path`, which must not exist, complete and synced. Returns an errno value or 0; with an error
/// there is no file.
int writeNewFile(const char* path, std::span<const ByteView> parts) {
  FileDescriptor file(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file.isOpen()) return errno;
  int error = writeGathered(file.get(), parts);
  if (error == 0 && fsync(file.get()) != 0) error = errno;
  if (!file.close() && error == 0) error = errno;
  if (error != 0) unlink(path);
  return error;
}

/// What renameat2() answers where the kernel or the file system does not know how to refuse an existing destination.
bool lacksRefusal(int error) { return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP; }

/// Moves by a second name and the removal of the first: a link never replaces anything. Returns an errno value or 0.
int moveByLink(const char* from, const char* to) {
  if (link(from, to) != 0) return errno;
  if (unlink(from) == 0) return 0;
  const int error = errno;
  unlink(to);
  return error;
}

int moveOrLink(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  return lacksRefusal(errno) ? moveByLink(from, to) : errno;
}

}  // namespace

int writeAtomically(const std::string& path, std::span<const ByteView> parts) {
  if (!isUsablePath(path)) return ENOENT;
  const std::string temporary = joinPath(parentDirectory(path), ".quellor." + randomUuid() + ".part");
  const RemovedOnTermination guard(temporary);
  int error = writeNewFile(temporary.c_str(), parts);
  if (error == 0 && rename(temporary.c_str(), path.c_str()) != 0) {
    error = errno;
    unlink(temporary.c_str());
  }
  if (error == 0) syncDirectoryOf(path);
  return error;
}

int moveWithoutReplacing(const std::string& from, const std::string& to) {
  if (!isUsablePath(from) || !isUsablePath(to)) return ENOENT;
  const int error = moveOrLink(from.c_str(), to.c_str());
  if (error == 0) syncDirectoryOf(to);
  return error;
}

void syncDirectoryOf(const std::string& path) {
  const FileDescriptor directory(open(parentDirectory(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.isOpen()) (void)fsync(directory.get());
}

}  // namespace quellor::files
