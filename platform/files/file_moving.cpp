#include "platform/files/file_moving.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "platform/files/directory_sync.h"
#include "platform/files/path.h"

namespace quellor::files {
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

int moveOrLink(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  return lacksRefusal(errno) ? moveByLink(from, to) : errno;
}

}  // namespace

int moveWithoutReplacing(const std::string& from, const std::string& to) {
  if (!isUsablePath(from) || !isUsablePath(to)) return ENOENT;
  const int error = moveOrLink(from.c_str(), to.c_str());
  if (error == 0) syncDirectoryOf(to);
  return error;
}

}  // namespace quellor::files
