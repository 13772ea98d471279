/* SPDX-License-Identifier: Apache-2.0 */
/* libbenchchannel.so, preloaded into the unmodified daemon: the BMC's channel
 * nodes are SOCK_SEQPACKET sockets, and a device read (ioctl request 0x100) is
 * one receive on such a socket, as it is one call on the real device. write,
 * poll and close are the socket's own.
 *
 * With BENCH_SKIP_WAITS set, usleep returns at once: the documented waits of
 * the start are left out of what a start costs. No notification sleeps. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

static const char kNodes[] = "/vmfs/devices/char/vmkdriver/zemox-d0ccb";
static const unsigned long kReadPacket = 0x100;
enum { kPacketMax = 4096 };

int __open_2(const char* path, int flags);
int __open64_2(const char* path, int flags);

static int connect_channel(const char* path) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  snprintf(address.sun_path, sizeof address.sun_path, "%s", path);
  const int fd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
  if (fd != -1 && connect(fd, (const struct sockaddr*)&address, sizeof address) != 0) {
    close(fd);
    errno = EBUSY;
    return -1;
  }
  return fd;
}

static int open_path(const char* path, int flags, mode_t mode) {
  if (strncmp(path, kNodes, sizeof kNodes - 1) == 0) {
    return connect_channel(path);
  }
  return openat(AT_FDCWD, path, flags, mode);
}

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return open_path(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return open_path(path, flags, mode);
}

int __open_2(const char* path, int flags) {
  return open_path(path, flags, 0);
}

int __open64_2(const char* path, int flags) {
  return open_path(path, flags, 0);
}

int ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (request == kReadPacket) {
    return (int)recv(fd, argument, kPacketMax, 0);
  }
  static int (*next)(int, unsigned long, ...);
  if (next == NULL) {
    *(void**)(&next) = dlsym(RTLD_NEXT, "ioctl");
  }
  return next(fd, request, argument);
}

int usleep(useconds_t microseconds) {
  if (getenv("BENCH_SKIP_WAITS") != NULL) {
    return 0;
  }
  const struct timespec wait = {microseconds / 1000000, microseconds % 1000000 * 1000};
  return nanosleep(&wait, NULL);
}
