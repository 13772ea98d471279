// SPDX-License-Identifier: Apache-2.0
#include "tests/support/silent_calls.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <cstdarg>
#include <cstddef>

namespace {

constexpr int kSocket = 1000;

SilentlySent g_sent = {};

}  // namespace

SilentlySent silently_sent() {
  return g_sent;
}

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl51-cpp): the linker's names.
extern "C" {
int __wrap_socket(int domain, int type, int protocol);
int __wrap_bind(int fd, const sockaddr* address, socklen_t size);
int __wrap_connect(int fd, const sockaddr* address, socklen_t size);
ssize_t __wrap_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size);
ssize_t __wrap_send(int fd, const void* data, size_t size, int flags);
int __wrap_close(int fd);
void __wrap_openlog(const char* identity, int options, int facility);
void __wrap_syslog(int priority, const char* format, ...);
void __wrap___syslog_chk(int priority, int flag, const char* format, ...);
void __wrap_closelog();

int __wrap_socket(int, int, int) {
  return kSocket;
}

int __wrap_bind(int, const sockaddr*, socklen_t) {
  return 0;
}

int __wrap_connect(int, const sockaddr*, socklen_t) {
  return 0;
}

ssize_t __wrap_sendto(int, const void*, size_t size, int, const sockaddr*, socklen_t) {
  ++g_sent.datagrams;
  g_sent.octets += size;
  return static_cast<ssize_t>(size);
}

ssize_t __wrap_send(int, const void*, size_t size, int) {
  return static_cast<ssize_t>(size);
}

int __wrap_close(int) {
  return 0;
}

void __wrap_openlog(const char*, int, int) {}

void __wrap_syslog(int, const char*, ...) {}

void __wrap___syslog_chk(int, int, const char*, ...) {}

void __wrap_closelog() {}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl51-cpp)
