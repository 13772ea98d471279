// SPDX-License-Identifier: Apache-2.0
// The C library's own functions behind those that the linker replaces, under
// the names that --wrap gives them. For tests/support only.
#ifndef TVUREV_TESTS_SUPPORT_WRAPPED_CALLS_H_
#define TVUREV_TESTS_SUPPORT_WRAPPED_CALLS_H_

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/types.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "log/log_client.h"

extern "C" {
[[noreturn]] void __real_abort();
int __real_accept4(int fd, sockaddr* address, socklen_t* length, int flags);
int __real_bind(int fd, const sockaddr* address, socklen_t length);
void* __real_calloc(size_t count, size_t size);
int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_close(int fd);
int __real_close_range(unsigned first, unsigned last, int flags);
[[noreturn]] void __real_exit(int status);
[[noreturn]] void __real__exit(int status);
int __real_fclose(FILE* stream);
FILE* __real_fopen(const char* path, const char* mode);
pid_t __real_fork();
int __real_getdtablesize();
int __real_gettimeofday(timeval* now, void* zone);
int __real_ioctl(int fd, unsigned long request, ...);
int __real_kill(pid_t pid, int signal);
int __real_listen(int fd, int backlog);
int __real_lstat(const char* path, struct stat* status);
int __real_mkdir(const char* path, mode_t mode);
int __real_open(const char* path, int flags, ...);
int __real_pclose(FILE* stream);
int __real_poll(pollfd* fds, nfds_t count, int timeout_ms);
int __real_ppoll(pollfd* fds, nfds_t count, const timespec* timeout, const sigset_t* mask);
FILE* __real_popen(const char* command, const char* mode);
ssize_t __real_readlink(const char* path, char* target, size_t size);
ssize_t __real_recv(int fd, void* buffer, size_t size, int flags);
ssize_t __real_sendto(int fd, const void* bytes, size_t length, int flags, const sockaddr* address,
                      socklen_t address_length);
int __real_setlogmask(int mask);
pid_t __real_setsid();
unsigned __real_sleep(unsigned seconds);
int __real_socket(int domain, int type, int protocol);
int __real_stat(const char* path, struct stat* status);
int __real_system(const char* command);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);
int __real_usleep(useconds_t microseconds);
pid_t __real_waitpid(pid_t pid, int* status, int options);
ssize_t __real_write(int fd, const void* bytes, size_t length);
}

// The log client, by the name that it is linked under.
void real_send_to_log(LogIdentity identity, int priority, std::string_view text) asm(
    "__real__Z11send_to_log11LogIdentityiSt17basic_string_viewIcSt11char_traitsIcEE");

#endif  // TVUREV_TESTS_SUPPORT_WRAPPED_CALLS_H_
