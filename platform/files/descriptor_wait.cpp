#include "platform/files/descriptor_wait.h"

#include <cerrno>
#include <poll.h>

namespace quellor {

int waitUntilReady(int descriptor, short event) {
  pollfd waited{descriptor, event, 0};
  while (poll(&waited, 1, -1) < 0) {
    if (errno != EINTR) return errno;
  }
  return 0;
}

}  // namespace quellor
