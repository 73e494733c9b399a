#include "platform/files/atomic_write.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "platform/files/directory_sync.h"
#include "platform/files/file_descriptor.h"
#include "platform/files/gathered_write.h"
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

}  // namespace quellor::files
