#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "platform/directory_sync.h"
#include "platform/file_error.h"
#include "platform/file_manager.h"
#include "platform/path.h"

namespace quellor {
namespace {

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

int moveWithoutReplacing(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  return lacksRefusal(errno) ? moveByLink(from, to) : errno;
}

}  // namespace

void PosixFileManager::moveItem(const std::string& from, const std::string& to) const {
  const bool usable = isUsablePath(from) && isUsablePath(to);
  const int error = usable ? moveWithoutReplacing(from.c_str(), to.c_str()) : ENOENT;
  if (error != 0) throw cannotSave(to, error);
  syncDirectoryOf(to);
}

}  // namespace quellor
