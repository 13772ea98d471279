// SPDX-License-Identifier: Apache-2.0
#include "lab/shim/channel_socket.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "lab/shim/faults.h"
#include "wire/chif.h"

namespace {

constexpr size_t kPathSize = sizeof(sockaddr_un::sun_path);

void close_keeping_errno(int fd) {
  const int error = errno;
  syscall(SYS_close, fd);
  errno = error;
}

// The node's path with its number replaced: "zemox-d0ccb-faults".
void faults_beside(const char* node, std::array<char, kPathSize + 16>* path) {
  size_t length = strlen(node);
  while (length > 0 && node[length - 1] >= '0' && node[length - 1] <= '9') {
    --length;
  }
  snprintf(path->data(), path->size(), "%.*s-faults", static_cast<int>(length), node);
}

// Returns the errno value to fail with, 0 to do nothing, or -1 to go on.
int fault_of(const char* node, const char* call) {
  std::array<char, kPathSize + 16> path = {};
  faults_beside(node, &path);
  return take_fault(path.data(), call);
}

// What tells the folder of the nodes from that of another host.
struct FolderKey {
  uint32_t device_major = 0;
  uint32_t device_minor = 0;
  uint64_t inode = 0;
};

FolderKey key_of_folder(const char* node) {
  std::array<char, kPathSize> folder = {};
  const char* slash = strrchr(node, '/');
  memcpy(folder.data(), node, slash == nullptr ? 0 : static_cast<size_t>(slash - node));
  struct statx found = {};
  syscall(SYS_statx, AT_FDCWD, folder.data(), 0, STATX_INO, &found);
  return {found.stx_dev_major, found.stx_dev_minor, found.stx_ino};
}

// Binds the exclusive name, then connects. Leaves the reason in errno.
bool take_and_connect(int fd, const char* path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const size_t length = strlen(path);
  memcpy(address.sun_path + 1, path, length);
  const FolderKey key = key_of_folder(path);
  memcpy(address.sun_path + 1 + length + 1, &key, sizeof key);
  const auto name_size =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length + 1 + sizeof key);
  if (bind(fd, reinterpret_cast<const sockaddr*>(&address), name_size) != 0) {
    errno = errno == EADDRINUSE ? EBUSY : errno;
    return false;
  }
  address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, path, length);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    errno = errno == ECONNREFUSED ? EBUSY : errno;
    return false;
  }
  return true;
}

bool has_hung_up(int fd) {
  pollfd entry = {fd, POLLIN, 0};
  timespec now = {};
  // Not poll(): a preloaded clock counts those.
  const long ready = syscall(SYS_ppoll, &entry, 1UL, &now, nullptr, 0UL);
  return ready > 0 && (entry.revents & (POLLHUP | POLLERR)) != 0;
}

}  // namespace

int channel_open(const char* path, int flags) {
  if (strlen(path) > kPathSize - 2 - sizeof(FolderKey)) {
    errno = ENAMETOOLONG;
    return -1;
  }
  const int close_on_exec = (flags & O_CLOEXEC) != 0 ? SOCK_CLOEXEC : 0;
  const int fd = socket(AF_UNIX, SOCK_SEQPACKET | close_on_exec, 0);
  if (fd >= 0 && !take_and_connect(fd, path)) {
    close_keeping_errno(fd);
    return -1;
  }
  return fd;
}

bool channel_path(int fd, char (&path)[kPathSize]) {
  const int errno_before = errno;
  sockaddr_un address = {};
  socklen_t size = sizeof(address);
  const bool named = getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
                     address.sun_family == AF_UNIX && size > offsetof(sockaddr_un, sun_path) + 1 &&
                     size <= sizeof(address) && address.sun_path[0] == '\0' &&
                     strstr(address.sun_path + 1, "/zemox-d0ccb") != nullptr;
  errno = errno_before;
  if (named) {
    memset(path, 0, kPathSize);
    memcpy(path, address.sun_path + 1, size - offsetof(sockaddr_un, sun_path) - 1);
  }
  return named;
}

ssize_t channel_write(int fd, const char* path, const void* packet, size_t length) {
  const int fault = fault_of(path, "write");
  if (fault >= 0) {
    errno = fault > 0 ? fault : errno;
    return fault > 0 ? -1 : 0;
  }
  const ssize_t sent = send(fd, packet, length, MSG_NOSIGNAL);
  if (sent < 0 && errno == EAGAIN) {
    errno = EBUSY;
  }
  return sent;
}

int channel_read(int fd, const char* path, void* buffer) {
  const int fault = fault_of(path, "read");
  if (fault >= 0) {
    errno = fault > 0 ? fault : errno;
    return fault > 0 ? -1 : 0;
  }
  const ssize_t length = recv(fd, buffer, chif::kPacketMax, 0);
  if (length == 0 && has_hung_up(fd)) {
    errno = EIO;
    return -1;
  }
  if (length < 0 && errno == ECONNRESET) {
    errno = EIO;
  }
  return static_cast<int>(length);
}
