// SPDX-License-Identifier: Apache-2.0
// The C library's own functions behind those that the fake host answers, under
// the names that --wrap gives them. For fake_host.cc and fake_calls.cc only.
#ifndef TVUREV_TESTS_FUZZ_REAL_CALLS_H_
#define TVUREV_TESTS_FUZZ_REAL_CALLS_H_

#include <dirent.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstdio>
#include <ctime>

extern "C" {
[[noreturn]] void __real_abort();
int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_close(int fd);
int __real_connect(int fd, const sockaddr* address, socklen_t size);
int __real_fclose(FILE* stream);
FILE* __real_fopen(const char* path, const char* mode);
int __real_ioctl(int fd, unsigned long request, ...);
int __real_lstat(const char* path, struct stat* status);
int __real_open(const char* path, int flags, ...);
int __real_pclose(FILE* stream);
int __real_poll(pollfd* fds, nfds_t count, int timeout_ms);
int __real_ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask);
FILE* __real_popen(const char* command, const char* mode);
ssize_t __real_read(int fd, void* buffer, size_t size);
ssize_t __real_recv(int fd, void* buffer, size_t size, int flags);
int __real_scandir(const char* path, dirent*** list, int (*filter)(const dirent*),
                   int (*compare)(const dirent**, const dirent**));
ssize_t __real_send(int fd, const void* bytes, size_t size, int flags);
ssize_t __real_sendto(int fd, const void* bytes, size_t size, int flags, const sockaddr* address,
                      socklen_t address_size);
int __real_setlogmask(int mask);
unsigned __real_sleep(unsigned seconds);
int __real_socket(int domain, int type, int protocol);
int __real_stat(const char* path, struct stat* status);
int __real_system(const char* command);
time_t __real_time(time_t* now);
int __real_usleep(useconds_t microseconds);
ssize_t __real_write(int fd, const void* bytes, size_t size);
}

#endif  // TVUREV_TESTS_FUZZ_REAL_CALLS_H_
