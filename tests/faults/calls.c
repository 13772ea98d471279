/* SPDX-License-Identifier: Apache-2.0 */
/* The calls that can fail, in alphabetical order. Each is named as in
 * calls.table. A failing call does nothing, but for those that cannot leave
 * undone what they do: a descriptor, a stream and a child are given up even when
 * close, fclose and pclose report an error. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <netdb.h>
#include <poll.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "tests/faults/fault.h"

/* The function that this one replaces. A function pointer out of dlsym, without a
 * cast that ISO C forbids. */
#define REAL(type, name)                       \
  static type real;                            \
  if (real == NULL) {                          \
    *(void**)(&real) = dlsym(RTLD_NEXT, name); \
  }
#define CALLER __builtin_return_address(0)

enum { kMicrosecondsPerSecond = 1000000, kMicrosecondsPerMillisecond = 1000, kForEver = -1 };

/* The simulated time's start: 2026-01-01, 00:00 UTC. */
static const time_t kStart = 1767225600;

static int failed(int error) {
  errno = error;
  return -1;
}

static void* none(int error) {
  errno = error;
  return NULL;
}

static int end_of_file(int error) {
  errno = error;
  return EOF;
}

static int64_t microseconds_of(const struct timespec* time) {
  return (int64_t)time->tv_sec * kMicrosecondsPerSecond + time->tv_nsec / 1000;
}

/* Until the descriptor can be read. */
static bool wait_readable(int fd, int64_t microseconds) {
  struct pollfd entry = {.fd = fd, .events = POLLIN};
  return wait_ready(&entry, 1, microseconds, NULL) != 0;
}

typedef int (*accept_function)(int, struct sockaddr*, socklen_t*);
int accept(int fd, __SOCKADDR_ARG address, socklen_t* length) {
  REAL(accept_function, "accept")
  const int fault = fault_of("accept", CALLER);
  if (fault != kNoFault) {
    return failed(fault);
  }
  if (is_daemons(CALLER)) {
    wait_readable(fd, kForEver);
  }
  return real(fd, address.__sockaddr__, length);
}

typedef int (*accept4_function)(int, struct sockaddr*, socklen_t*, int);
int accept4(int fd, __SOCKADDR_ARG address, socklen_t* length, int flags) {
  REAL(accept4_function, "accept4")
  const int fault = fault_of("accept4", CALLER);
  if (fault != kNoFault) {
    return failed(fault);
  }
  if (is_daemons(CALLER)) {
    wait_readable(fd, kForEver);
  }
  return real(fd, address.__sockaddr__, length, flags);
}

typedef int (*bind_function)(int, const struct sockaddr*, socklen_t);
int bind(int fd, __CONST_SOCKADDR_ARG address, socklen_t length) {
  REAL(bind_function, "bind")
  const int fault = fault_of("bind", CALLER);
  return fault != kNoFault ? failed(fault) : real(fd, address.__sockaddr__, length);
}

/* Simulated, so that pauses measured by it are those that were slept; also where
 * the C++ library asks for the daemon. */
typedef int (*clock_function)(clockid_t, struct timespec*);
int clock_gettime(clockid_t clock, struct timespec* now) {
  REAL(clock_function, "clock_gettime")
  if (g_world == NULL) {
    return real(clock, now);
  }
  const int64_t us = simulated_now();
  now->tv_sec = kStart + us / kMicrosecondsPerSecond;
  now->tv_nsec = us % kMicrosecondsPerSecond * 1000;
  return 0;
}

typedef int (*close_function)(int);
int close(int fd) {
  REAL(close_function, "close")
  const int fault = fault_of("close", CALLER);
  const int result = real(fd);
  return fault != kNoFault ? failed(fault) : result;
}

typedef int (*close_range_function)(unsigned, unsigned, int);
int close_range(unsigned first, unsigned last, int flags) {
  REAL(close_range_function, "close_range")
  const int fault = fault_of("close_range", CALLER);
  return fault != kNoFault ? failed(fault) : real(first, last, flags);
}

typedef int (*connect_function)(int, const struct sockaddr*, socklen_t);
int connect(int fd, __CONST_SOCKADDR_ARG address, socklen_t length) {
  REAL(connect_function, "connect")
  const int fault = fault_of("connect", CALLER);
  return fault != kNoFault ? failed(fault) : real(fd, address.__sockaddr__, length);
}

typedef void (*exit_function)(int);
void exit(int status) {
  REAL(exit_function, "exit")
  if (is_daemons(CALLER)) {
    note_exit(status);
  }
  real(status);
  __builtin_unreachable();
}

typedef void (*quick_exit_function)(int);
void _exit(int status) {
  REAL(quick_exit_function, "_exit")
  if (is_daemons(CALLER)) {
    note_exit(status);
  }
  real(status);
  __builtin_unreachable();
}

typedef int (*fclose_function)(FILE*);
int fclose(FILE* stream) {
  REAL(fclose_function, "fclose")
  const int fault = fault_of("fclose", CALLER);
  const int result = real(stream);
  return fault != kNoFault ? end_of_file(fault) : result;
}

typedef int (*fflush_function)(FILE*);
int fflush(FILE* stream) {
  REAL(fflush_function, "fflush")
  const int fault = fault_of("fflush", CALLER);
  return fault != kNoFault ? end_of_file(fault) : real(stream);
}

/* A read error marks the stream, as the C library does. */
typedef char* (*fgets_function)(char*, int, FILE*);
char* fgets(char* line, int size, FILE* stream) {
  REAL(fgets_function, "fgets")
  const int fault = fault_of("fgets", CALLER);
  if (fault == kEnd) {
    stream->_flags |= _IO_EOF_SEEN;
    return NULL;
  }
  if (fault == kShort) {
    char* read = real(line, size, stream);
    if (read != NULL) {
      line[strlen(line) / 2] = '\0';
    }
    return read;
  }
  if (fault != kNoFault) {
    stream->_flags |= _IO_ERR_SEEN;
    return none(fault);
  }
  return real(line, size, stream);
}

typedef FILE* (*fopen_function)(const char*, const char*);
FILE* fopen(const char* path, const char* mode) {
  REAL(fopen_function, "fopen")
  const int fault = fault_of("fopen", CALLER);
  return fault != kNoFault ? none(fault) : real(path, mode);
}

typedef pid_t (*fork_function)(void);
pid_t fork(void) {
  REAL(fork_function, "fork")
  if (!is_daemons(CALLER)) {
    return real();
  }
  const int fault = fault_of("fork", CALLER);
  struct FaultSlot* slot = slot_for_child();
  const pid_t pid = fault != kNoFault ? failed(fault) : real();
  if (pid == 0) {
    become_child(slot);
  } else {
    note_child(slot, pid);
  }
  return pid;
}

int __fprintf_chk(FILE* stream, int flag, const char* format, ...);
int __fprintf_chk(FILE* stream, int flag, const char* format, ...) {
  (void)flag;
  const int fault = fault_of("fprintf", CALLER);
  if (fault != kNoFault) {
    return failed(fault);
  }
  va_list arguments;
  va_start(arguments, format);
  const int length = vfprintf(stream, format, arguments);
  va_end(arguments);
  return length;
}

typedef int (*fputs_function)(const char*, FILE*);
int fputs(const char* text, FILE* stream) {
  REAL(fputs_function, "fputs")
  const int fault = fault_of("fputs", CALLER);
  return fault != kNoFault ? end_of_file(fault) : real(text, stream);
}

typedef size_t (*fwrite_function)(const void*, size_t, size_t, FILE*);
size_t fwrite(const void* bytes, size_t size, size_t count, FILE* stream) {
  REAL(fwrite_function, "fwrite")
  const int fault = fault_of("fwrite", CALLER);
  if (fault != kNoFault) {
    errno = fault;
    return 0;
  }
  return real(bytes, size, count, stream);
}

typedef int (*getaddrinfo_function)(const char*, const char*, const struct addrinfo*,
                                    struct addrinfo**);
int getaddrinfo(const char* name, const char* service, const struct addrinfo* hints,
                struct addrinfo** found) {
  REAL(getaddrinfo_function, "getaddrinfo")
  const int fault = fault_of("getaddrinfo", CALLER);
  if (fault != kNoFault) {
    errno = ECONNREFUSED; /* what EAI_SYSTEM speaks of */
    return fault - kAddressInfo;
  }
  return real(name, service, hints, found);
}

typedef int (*gethostname_function)(char*, size_t);
int gethostname(char* name, size_t size) {
  REAL(gethostname_function, "gethostname")
  const int fault = fault_of("gethostname", CALLER);
  return fault != kNoFault ? failed(fault) : real(name, size);
}

/* Reads a packet of a channel, or nothing where none comes for a second. "end" is
 * an empty read. */
typedef int (*ioctl_function)(int, unsigned long, ...);
int ioctl(int fd, unsigned long request, ...) {
  REAL(ioctl_function, "ioctl")
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  const int fault = fault_of("ioctl", CALLER);
  if (fault == kEnd) {
    return 0;
  }
  if (fault > 0) {
    return failed(fault);
  }
  if (is_daemons(CALLER) && !wait_readable(fd, kMicrosecondsPerSecond)) {
    return 0;
  }
  return real(fd, request, argument);
}

/* Returns when what it killed has ended, so that whoever looks for that right
 * afterwards sees the same each time. */
typedef int (*kill_function)(pid_t, int);
int kill(pid_t pid, int number) {
  REAL(kill_function, "kill")
  const int result = real(pid, number);
  if (is_daemons(CALLER) && result == 0 && number == SIGKILL) {
    siginfo_t end;
    waitid(P_PID, (id_t)pid, &end, WEXITED | WNOWAIT);
    errno = 0;
  }
  return result;
}

typedef int (*listen_function)(int, int);
int listen(int fd, int backlog) {
  REAL(listen_function, "listen")
  const int fault = fault_of("listen", CALLER);
  return fault != kNoFault ? failed(fault) : real(fd, backlog);
}

typedef struct tm* (*localtime_function)(const time_t*, struct tm*);
struct tm* localtime_r(const time_t* moment, struct tm* local) {
  REAL(localtime_function, "localtime_r")
  const int fault = fault_of("localtime_r", CALLER);
  return fault != kNoFault ? none(fault) : real(moment, local);
}

typedef int (*stat_function)(const char*, struct stat*);
int lstat(const char* path, struct stat* status) {
  REAL(stat_function, "lstat")
  const int fault = fault_of("lstat", CALLER);
  return fault != kNoFault ? failed(fault) : real(path, status);
}

typedef int (*mkdir_function)(const char*, mode_t);
int mkdir(const char* path, mode_t mode) {
  REAL(mkdir_function, "mkdir")
  const int fault = fault_of("mkdir", CALLER);
  return fault != kNoFault ? failed(fault) : real(path, mode);
}

typedef int (*nanosleep_function)(const struct timespec*, struct timespec*);
int nanosleep(const struct timespec* request, struct timespec* left) {
  REAL(nanosleep_function, "nanosleep")
  if (!is_daemons(CALLER)) {
    return real(request, left);
  }
  const int fault = fault_of("nanosleep", CALLER);
  const int64_t until = simulated_now() + microseconds_of(request);
  const int result =
      fault != kNoFault ? failed(fault) : wait_ready(NULL, 0, microseconds_of(request), NULL);
  if (result != 0 && left != NULL) {
    const int64_t us = until - simulated_now();
    left->tv_sec = us / kMicrosecondsPerSecond;
    left->tv_nsec = us % kMicrosecondsPerSecond * 1000;
  }
  return result;
}

typedef int (*open_function)(const char*, int, ...);
int open(const char* path, int flags, ...) {
  REAL(open_function, "open")
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  const int fault = fault_of("open", CALLER);
  return fault != kNoFault ? failed(fault) : real(path, flags, mode);
}

typedef int (*pclose_function)(FILE*);
int pclose(FILE* stream) {
  REAL(pclose_function, "pclose")
  const int fault = fault_of("pclose", CALLER);
  const int status = real(stream);
  return fault != kNoFault ? failed(fault) : status;
}

typedef int (*pipe2_function)(int[2], int);
int pipe2(int ends[2], int flags) {
  REAL(pipe2_function, "pipe2")
  const int fault = fault_of("pipe2", CALLER);
  if (fault != kNoFault) {
    return failed(fault);
  }
  if (is_daemons(CALLER)) {
    note_pipe();
  }
  return real(ends, flags);
}

typedef int (*poll_function)(struct pollfd*, nfds_t, int);
int poll(struct pollfd* entries, nfds_t count, int timeout_ms) {
  REAL(poll_function, "poll")
  if (!is_daemons(CALLER)) {
    return real(entries, count, timeout_ms);
  }
  const int fault = fault_of("poll", CALLER);
  if (fault != kNoFault) {
    return failed(fault);
  }
  return wait_ready(entries, count,
                    timeout_ms < 0 ? -1 : (int64_t)timeout_ms * kMicrosecondsPerMillisecond, NULL);
}

typedef FILE* (*popen_function)(const char*, const char*);
FILE* popen(const char* command, const char* mode) {
  REAL(popen_function, "popen")
  const int fault = fault_of("popen", CALLER);
  if (fault == kShellMissing) {
    return real("exit 127", mode);
  }
  return fault != kNoFault ? none(fault) : real(command, mode);
}

typedef int (*ppoll_function)(struct pollfd*, nfds_t, const struct timespec*, const sigset_t*);
int ppoll(struct pollfd* entries, nfds_t count, const struct timespec* timeout,
          const sigset_t* mask) {
  REAL(ppoll_function, "ppoll")
  if (!is_daemons(CALLER)) {
    return real(entries, count, timeout, mask);
  }
  const int fault = fault_of("ppoll", CALLER);
  if (fault != kNoFault) {
    return failed(fault);
  }
  return wait_ready(entries, count, timeout == NULL ? kForEver : microseconds_of(timeout), mask);
}

/* What pthread_atfork becomes. Returns its error. */
typedef int (*atfork_function)(void (*)(void), void (*)(void), void (*)(void), void*);
int __register_atfork(void (*prepare)(void), void (*parent)(void), void (*child)(void),
                      void* object);
int __register_atfork(void (*prepare)(void), void (*parent)(void), void (*child)(void),
                      void* object) {
  REAL(atfork_function, "__register_atfork")
  const int fault = fault_of("pthread_atfork", CALLER);
  return fault != kNoFault ? fault : real(prepare, parent, child, object);
}

typedef int (*puts_function)(const char*);
int puts(const char* text) {
  REAL(puts_function, "puts")
  const int fault = fault_of("puts", CALLER);
  return fault != kNoFault ? end_of_file(fault) : real(text);
}

/* Of a pipe. */
typedef ssize_t (*read_function)(int, void*, size_t);
ssize_t read(int fd, void* bytes, size_t count) {
  REAL(read_function, "read")
  const int fault = fault_of("read", CALLER);
  if (fault == kEnd) {
    return 0;
  }
  if (fault > 0) {
    return failed(fault);
  }
  return real(fd, bytes, fault == kShort ? count / 2 : count);
}

typedef ssize_t (*readlink_function)(const char*, char*, size_t);
ssize_t readlink(const char* path, char* target, size_t size) {
  REAL(readlink_function, "readlink")
  const int fault = fault_of("readlink", CALLER);
  return fault != kNoFault ? failed(fault) : real(path, target, size);
}

typedef ssize_t (*recv_function)(int, void*, size_t, int);
ssize_t recv(int fd, void* bytes, size_t count, int flags) {
  REAL(recv_function, "recv")
  const int fault = fault_of("recv", CALLER);
  if (fault > 0) {
    return failed(fault);
  }
  if (is_daemons(CALLER) && (flags & MSG_DONTWAIT) == 0) {
    wait_readable(fd, kForEver);
  }
  if (fault == kShort) {
    const ssize_t there = real(fd, bytes, count, flags | MSG_PEEK);
    return there > 1 ? real(fd, bytes, (size_t)there / 2, flags) : real(fd, bytes, count, flags);
  }
  return real(fd, bytes, count, flags);
}

typedef ssize_t (*send_function)(int, const void*, size_t, int);
ssize_t send(int fd, const void* bytes, size_t count, int flags) {
  REAL(send_function, "send")
  const int fault = fault_of("send", CALLER);
  return fault != kNoFault ? failed(fault) : real(fd, bytes, count, flags);
}

typedef ssize_t (*sendto_function)(int, const void*, size_t, int, const struct sockaddr*,
                                   socklen_t);
ssize_t sendto(int fd, const void* bytes, size_t count, int flags, __CONST_SOCKADDR_ARG address,
               socklen_t length) {
  REAL(sendto_function, "sendto")
  const int fault = fault_of("sendto", CALLER);
  return fault != kNoFault ? failed(fault)
                           : real(fd, bytes, count, flags, address.__sockaddr__, length);
}

typedef int (*rename_function)(const char*, const char*);
int rename(const char* from, const char* to) {
  REAL(rename_function, "rename")
  const int fault = fault_of("rename", CALLER);
  return fault != kNoFault ? failed(fault) : real(from, to);
}

typedef int (*setenv_function)(const char*, const char*, int);
int setenv(const char* name, const char* value, int overwrite) {
  REAL(setenv_function, "setenv")
  const int fault = fault_of("setenv", CALLER);
  return fault != kNoFault ? failed(fault) : real(name, value, overwrite);
}

typedef unsigned (*sleep_function)(unsigned);
unsigned sleep(unsigned seconds) {
  REAL(sleep_function, "sleep")
  if (!is_daemons(CALLER)) {
    return real(seconds);
  }
  if (fault_of("sleep", CALLER) != kNoFault) {
    return seconds; /* a signal came at once */
  }
  const int64_t start = simulated_now();
  if (wait_ready(NULL, 0, (int64_t)seconds * kMicrosecondsPerSecond, NULL) == 0) {
    return 0;
  }
  return seconds - (unsigned)((simulated_now() - start) / kMicrosecondsPerSecond);
}

typedef int (*socket_function)(int, int, int);
int socket(int domain, int type, int protocol) {
  REAL(socket_function, "socket")
  const int fault = fault_of("socket", CALLER);
  return fault != kNoFault ? failed(fault) : real(domain, type, protocol);
}

int stat(const char* path, struct stat* status) {
  REAL(stat_function, "stat")
  const int fault = fault_of("stat", CALLER);
  return fault != kNoFault ? failed(fault) : real(path, status);
}

typedef int (*system_function)(const char*);
int system(const char* command) {
  REAL(system_function, "system")
  const int fault = fault_of("system", CALLER);
  if (fault == kShellMissing) {
    return 127 << 8;
  }
  return fault != kNoFault ? failed(fault) : real(command);
}

typedef time_t (*time_function)(time_t*);
time_t time(time_t* now) {
  REAL(time_function, "time")
  if (!is_daemons(CALLER)) {
    return real(now);
  }
  const time_t simulated = kStart + simulated_now() / kMicrosecondsPerSecond;
  if (now != NULL) {
    *now = simulated;
  }
  return simulated;
}

typedef int (*unlink_function)(const char*);
int unlink(const char* path) {
  REAL(unlink_function, "unlink")
  const int fault = fault_of("unlink", CALLER);
  return fault != kNoFault ? failed(fault) : real(path);
}

typedef int (*usleep_function)(useconds_t);
int usleep(useconds_t microseconds) {
  REAL(usleep_function, "usleep")
  if (!is_daemons(CALLER)) {
    return real(microseconds);
  }
  const int fault = fault_of("usleep", CALLER);
  return fault != kNoFault ? failed(fault) : wait_ready(NULL, 0, (int64_t)microseconds, NULL);
}

typedef pid_t (*waitpid_function)(pid_t, int*, int);
pid_t waitpid(pid_t pid, int* status, int options) {
  REAL(waitpid_function, "waitpid")
  const int fault = fault_of("waitpid", CALLER);
  return fault != kNoFault ? failed(fault) : real(pid, status, options);
}

/* To a channel, or to a pipe. "short" sends half a packet and says so. */
typedef ssize_t (*write_function)(int, const void*, size_t);
ssize_t write(int fd, const void* bytes, size_t count) {
  REAL(write_function, "write")
  const int fault = fault_of("write", CALLER);
  if (fault > 0) {
    return failed(fault);
  }
  return real(fd, bytes, fault == kShort ? count / 2 : count);
}
