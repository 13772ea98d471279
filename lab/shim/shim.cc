// SPDX-License-Identifier: Apache-2.0
// libmoxshim.so: preloaded into a program of the host, it turns the BMC
// driver's channel devices into sockets of the simulated BMC. It replaces open
// on a channel node, ioctl request 0x100 and write; poll and close are the
// socket's own. Of what the daemon receives at the agents' socket it hands out a
// copy for a recording. Every other call goes on to the C library untouched, also
// in the shells that the program starts. It keeps no state but the addresses of
// the replaced functions, so it is safe in threads and after a fork.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "lab/shim/agent_copy.h"
#include "lab/shim/channel_socket.h"

namespace {

constexpr unsigned long kReadPacket = 0x100;

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool is_node(const char* path) {
  const size_t length = strlen(kNodePrefix);
  return path != nullptr && strncmp(path, kNodePrefix, length) == 0 && path[length] >= '0' &&
         path[length] <= '9';
}

using OpenFunction = int (*)(const char*, int, ...);
using ShortOpenFunction = int (*)(const char*, int);

// What a receive gave, after a copy of it went out; a look ahead is none.
ssize_t copied(int fd, const void* bytes, ssize_t length, int flags) {
  if (length >= 0 && (flags & MSG_PEEK) == 0 && is_agent_socket(fd)) {
    send_copy(fd, bytes, static_cast<size_t>(length));
  }
  return length;
}

// Whether a mode follows the flags.
bool has_mode(int flags) {
  return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

}  // namespace

extern "C" int open(const char* path, int flags, ...) {
  if (is_node(path)) {
    return channel_open(path, flags);
  }
  va_list arguments;
  va_start(arguments, flags);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the line above has
  const mode_t mode = has_mode(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  static const auto next_call = next<OpenFunction>("open");
  return next_call(path, flags, mode);
}

extern "C" int open64(const char* path, int flags, ...) {
  if (is_node(path)) {
    return channel_open(path, flags);
  }
  va_list arguments;
  va_start(arguments, flags);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the line above has
  const mode_t mode = has_mode(flags) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  static const auto next_call = next<OpenFunction>("open64");
  return next_call(path, flags, mode);
}

// What open becomes where the compiler checks for a missing mode.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __open_2(const char* path, int flags);
extern "C" int __open64_2(const char* path, int flags);
// NOLINTEND(bugprone-reserved-identifier)

extern "C" int __open_2(const char* path, int flags) {
  static const auto next_call = next<ShortOpenFunction>("__open_2");
  return is_node(path) ? channel_open(path, flags) : next_call(path, flags);
}

extern "C" int __open64_2(const char* path, int flags) {
  static const auto next_call = next<ShortOpenFunction>("__open64_2");
  return is_node(path) ? channel_open(path, flags) : next_call(path, flags);
}

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  char path[sizeof(sockaddr_un::sun_path)];
  if (request == kReadPacket && channel_path(fd, path)) {
    return channel_read(fd, path, argument);
  }
  static const auto next_call = next<int (*)(int, unsigned long, ...)>("ioctl");
  return next_call(fd, request, argument);
}

extern "C" ssize_t write(int fd, const void* bytes, size_t count) {
  char path[sizeof(sockaddr_un::sun_path)];
  if (channel_path(fd, path)) {
    return channel_write(fd, path, bytes, count);
  }
  static const auto next_call = next<ssize_t (*)(int, const void*, size_t)>("write");
  return next_call(fd, bytes, count);
}

extern "C" ssize_t recv(int fd, void* bytes, size_t count, int flags) {
  static const auto next_call = next<ssize_t (*)(int, void*, size_t, int)>("recv");
  return copied(fd, bytes, next_call(fd, bytes, count, flags), flags);
}

// What recv becomes where the compiler checks the buffer's size.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" ssize_t __recv_chk(int fd, void* bytes, size_t count, size_t size, int flags);
// NOLINTEND(bugprone-reserved-identifier)

extern "C" ssize_t __recv_chk(int fd, void* bytes, size_t count, size_t size, int flags) {
  static const auto next_call = next<ssize_t (*)(int, void*, size_t, size_t, int)>("__recv_chk");
  return copied(fd, bytes, next_call(fd, bytes, count, size, flags), flags);
}
