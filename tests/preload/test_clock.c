/* SPDX-License-Identifier: Apache-2.0 */
/* The clock of the end-to-end tests, preloaded into the unmodified daemon: a
 * requested wait ends at once, and is written to the system log's socket. That
 * socket is the test's, so that it sees messages and waits in one order:
 *
 *   <6>clock[PID]: sleep 10
 *   <6>clock[PID]: usleep 10000
 *   <6>clock[PID]: nanosleep 1.500000000
 *   <6>clock[PID]: poll 1000 -> 0
 *
 * (The number after the arrow is poll's result.) A ppoll is written as poll, and
 * one of no descriptor as sleep, or usleep where it is not whole seconds: how a
 * program waits so that a signal can end it is its own affair. Such a wait ends
 * with EINTR when a signal comes that its mask lets in. Environment:
 *
 *   TESTCLOCK_RECORD        which waits are written: a comma list of sleep,
 *                           usleep, nanosleep, poll. "sleep,usleep" if unset.
 *   TESTCLOCK_POLL_DIVISOR  poll timeouts are divided by it, down to 1 ms;
 *                           1 (real time) if unset; 0 polls without waiting.
 *   TESTCLOCK_PROGRAM       the only program whose time is changed, "tvurev" if
 *                           unset: shells and tools that inherit the preload
 *                           keep theirs, and write nothing.
 *   TESTCLOCK_SOCKET        where to write, "/dev/log" if unset.
 *   TESTCLOCK_HOLD          a file: while it exists no sleep ends, so that a test
 *                           can act in the middle of one.
 *
 * Keeps no descriptor open (the daemon closes them all) and leaves errno as the
 * real call would. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

/* The fortified aliases; the C library declares them only for its own headers. */
int __poll_chk(struct pollfd* fds, nfds_t count, int timeout_ms, size_t fds_size);
int __ppoll_chk(struct pollfd* fds, nfds_t count, const struct timespec* timeout,
                const sigset_t* mask, size_t fds_size);

/* Long enough for others to run, too short to be noticed. */
static const struct timespec kPause = {0, 100000};

typedef int (*nanosleep_function)(const struct timespec*, struct timespec*);
typedef int (*clock_nanosleep_function)(clockid_t, int, const struct timespec*, struct timespec*);
typedef int (*poll_function)(struct pollfd*, nfds_t, int);
typedef int (*ppoll_function)(struct pollfd*, nfds_t, const struct timespec*, const sigset_t*);
typedef unsigned (*sleep_function)(unsigned);
typedef int (*usleep_function)(useconds_t);

/* A function pointer out of dlsym, without a cast that ISO C forbids. */
#define REAL(type, name)                       \
  static type real;                            \
  if (real == NULL) {                          \
    *(void**)(&real) = dlsym(RTLD_NEXT, name); \
  }

static const char* setting(const char* name, const char* otherwise) {
  const char* value = getenv(name);
  return value != NULL ? value : otherwise;
}

static bool is_our_program(void) {
  return strcmp(program_invocation_short_name, setting("TESTCLOCK_PROGRAM", "tvurev")) == 0;
}

static bool is_recorded(const char* kind) {
  const char* list = setting("TESTCLOCK_RECORD", "sleep,usleep");
  const size_t length = strlen(kind);
  while (*list != '\0') {
    const size_t entry = strcspn(list, ",");
    if (entry == length && strncmp(list, kind, length) == 0) {
      return true;
    }
    list += entry + (list[entry] == ',');
  }
  return false;
}

/* Blocks while the reader is behind, as the system log does: nothing is lost
 * and nothing overtakes. */
static void send_line(const char* line, size_t length) {
  const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd == -1) {
    return;
  }
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  snprintf(address.sun_path, sizeof address.sun_path, "%s",
           setting("TESTCLOCK_SOCKET", "/dev/log"));
  sendto(fd, line, length, MSG_NOSIGNAL, (const struct sockaddr*)&address, sizeof address);
  close(fd);
}

__attribute__((format(printf, 2, 3))) static void record(const char* kind, const char* format,
                                                         ...) {
  if (!is_recorded(kind)) {
    return;
  }
  const int error = errno;
  char line[128];
  int length = snprintf(line, sizeof line, "<6>clock[%d]: %s ", (int)getpid(), kind);
  va_list arguments;
  va_start(arguments, format);
  length += vsnprintf(line + length, sizeof line - (size_t)length, format, arguments);
  va_end(arguments);
  send_line(line, (size_t)length);
  errno = error;
}

/* Lets other processes run; keeps errno. */
static void pause_shortly(void) {
  REAL(clock_nanosleep_function, "clock_nanosleep")
  sched_yield();
  real(CLOCK_MONOTONIC, 0, &kPause, NULL);
}

/* Keeps errno. */
static bool is_held(void) {
  const int error = errno;
  const char* file = getenv("TESTCLOCK_HOLD");
  const bool held = file != NULL && access(file, F_OK) == 0;
  errno = error;
  return held;
}

static void stay_while_held(void) {
  while (is_held()) {
    pause_shortly();
  }
}

unsigned sleep(unsigned seconds) {
  if (!is_our_program()) {
    REAL(sleep_function, "sleep")
    return real(seconds);
  }
  record("sleep", "%u", seconds);
  pause_shortly();
  stay_while_held();
  return 0;
}

int usleep(useconds_t microseconds) {
  if (!is_our_program()) {
    REAL(usleep_function, "usleep")
    return real(microseconds);
  }
  record("usleep", "%u", microseconds);
  pause_shortly();
  return 0;
}

int nanosleep(const struct timespec* request, struct timespec* remaining) {
  if (!is_our_program()) {
    REAL(nanosleep_function, "nanosleep")
    return real(request, remaining);
  }
  record("nanosleep", "%lld.%09ld", (long long)request->tv_sec, request->tv_nsec);
  pause_shortly();
  return 0;
}

/* An absolute time is left alone: the clock it is measured by runs on. */
int clock_nanosleep(clockid_t clock, int flags, const struct timespec* request,
                    struct timespec* remaining) {
  if (!is_our_program() || (flags & TIMER_ABSTIME) != 0) {
    REAL(clock_nanosleep_function, "clock_nanosleep")
    return real(clock, flags, request, remaining);
  }
  record("nanosleep", "%lld.%09ld", (long long)request->tv_sec, request->tv_nsec);
  pause_shortly();
  return 0;
}

static int shortened(int timeout_ms) {
  const long divisor = strtol(setting("TESTCLOCK_POLL_DIVISOR", "1"), NULL, 10);
  if (timeout_ms <= 0) {
    return timeout_ms;
  }
  if (divisor <= 0) {
    return 0;
  }
  return timeout_ms / divisor > 0 ? (int)(timeout_ms / divisor) : 1;
}

int poll(struct pollfd* fds, nfds_t count, int timeout_ms) {
  REAL(poll_function, "poll")
  if (!is_our_program()) {
    return real(fds, count, timeout_ms);
  }
  const int timeout = shortened(timeout_ms);
  const int result = real(fds, count, timeout);
  record("poll", "%d -> %d", timeout_ms, result);
  if (result == 0 && timeout == 0) {
    pause_shortly();
  }
  return result;
}

int __poll_chk(struct pollfd* fds, nfds_t count, int timeout_ms, size_t fds_size) {
  if (fds_size / sizeof *fds < count) {
    abort();
  }
  return poll(fds, count, timeout_ms);
}

/* A ppoll of no descriptor. */
static int pause_until_signal(const struct timespec* timeout, const sigset_t* mask) {
  REAL(ppoll_function, "ppoll")
  /* One wait to the program: no signal comes between its pieces. */
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  sigprocmask(SIG_SETMASK, &all, &before);
  const bool whole_seconds = timeout->tv_nsec == 0;
  if (whole_seconds) {
    record("sleep", "%lld", (long long)timeout->tv_sec);
  } else {
    record("usleep", "%lld", (long long)timeout->tv_sec * 1000000 + timeout->tv_nsec / 1000);
  }
  sched_yield();
  int result = 0;
  do {
    result = real(NULL, 0, &kPause, mask);
  } while (result == 0 && timeout->tv_sec > 0 && is_held());
  const int error = errno;
  sigprocmask(SIG_SETMASK, &before, NULL);
  errno = error;
  return result;
}

int ppoll(struct pollfd* fds, nfds_t count, const struct timespec* timeout, const sigset_t* mask) {
  REAL(ppoll_function, "ppoll")
  if (!is_our_program() || timeout == NULL) {
    return real(fds, count, timeout, mask);
  }
  if (count == 0) {
    return pause_until_signal(timeout, mask);
  }
  const int timeout_ms = (int)(timeout->tv_sec * 1000 + timeout->tv_nsec / 1000000);
  const int short_ms = shortened(timeout_ms);
  const struct timespec short_time = {short_ms / 1000, short_ms % 1000 * 1000000L};
  const int result = real(fds, count, &short_time, mask);
  record("poll", "%d -> %d", timeout_ms, result);
  if (result == 0 && short_ms == 0) {
    pause_shortly();
  }
  return result;
}

int __ppoll_chk(struct pollfd* fds, nfds_t count, const struct timespec* timeout,
                const sigset_t* mask, size_t fds_size) {
  if (fds_size / sizeof *fds < count) {
    abort();
  }
  return ppoll(fds, count, timeout, mask);
}
