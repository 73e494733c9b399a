#include "platform/files/directory_sync.h"

#include <fcntl.h>

#include "platform/files/file_descriptor.h"
#include "platform/files/path.h"

namespace quellor {

void syncDirectoryOf(const std::string& path) {
  const FileDescriptor directory(open(parentDirectory(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.isOpen()) (void)fsync(directory.get());
}

}  // namespace quellor
