// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/local_socket.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "base/text.h"

namespace {

constexpr int kBacklog = 16;

// A new socket, and its address for bind or connect; no descriptor with errno.
Descriptor open_local(int type, const std::string& path, sockaddr_un* address) {
  address->sun_family = AF_UNIX;
  if (copy_text(address->sun_path, path) < path.size()) {
    errno = ENAMETOOLONG;
    return {};
  }
  return Descriptor(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
}

}  // namespace

Descriptor connect_local(int type, const std::string& path) {
  sockaddr_un address = {};
  Descriptor fd = open_local(type, path, &address);
  if (fd.valid() &&
      connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    fd.reset();
  }
  return fd;
}

Descriptor serve_local(int type, const std::string& path) {
  sockaddr_un address = {};
  Descriptor fd = open_local(type | SOCK_NONBLOCK, path, &address);
  if (fd.valid() &&
      (bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
       (type != SOCK_DGRAM && listen(fd.get(), kBacklog) != 0))) {
    fd.reset();
  }
  return fd;
}

bool is_all_read(int fd) {
  int unread = 0;
  return ioctl(fd, SIOCOUTQ, &unread) == 0 && unread == 0;
}

bool has_hung_up(int fd) {
  pollfd entry = {fd, POLLIN, 0};
  return poll(&entry, 1, 0) > 0 && (entry.revents & (POLLHUP | POLLERR)) != 0;
}
