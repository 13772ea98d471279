/* SPDX-License-Identifier: Apache-2.0 */
/* The daemon's half of the soak test's clock (shared_clock.h), preloaded into the
 * unmodified daemon. It replaces every call by which the daemon waits or asks for
 * the time, and fork, so that a child is known before it runs:
 *
 *   sleep usleep nanosleep clock_nanosleep poll ppoll accept
 *   time gettimeofday clock_gettime fork
 *
 * and getaddrinfo, whose own waiting for a silent name server is out of reach: while
 * the page says that they are silent it does not come back.
 *
 * Environment: SOAKCLOCK_PAGE names the page's file, SOAKCLOCK_PROGRAM the only
 * program whose time is simulated ("tvurev" if unset): shells that inherit the
 * preload keep theirs. Keeps no descriptor open. */
#define _GNU_SOURCE
#include "tests/soak/shared_clock.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/futex.h>
#include <netdb.h>
#include <poll.h>
#include <signal.h>
#include <stdbool.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

/* The fortified aliases; the C library declares them only for its own headers. */
int __poll_chk(struct pollfd* fds, nfds_t count, int timeout_ms, size_t fds_size);
int __ppoll_chk(struct pollfd* fds, nfds_t count, const struct timespec* timeout,
                const sigset_t* mask, size_t fds_size);

static const uint64_t kSecond = 1000000000;
static const uint64_t kMillisecond = 1000000;
static const uint64_t kMicrosecond = 1000;

/* A function pointer out of dlsym, without a cast that ISO C forbids. */
#define REAL(type, name)                       \
  static type real;                            \
  if (real == NULL) {                          \
    *(void**)(&real) = dlsym(RTLD_NEXT, name); \
  }

typedef unsigned (*sleep_function)(unsigned);
typedef int (*usleep_function)(useconds_t);
typedef int (*nanosleep_function)(const struct timespec*, struct timespec*);
typedef int (*clock_nanosleep_function)(clockid_t, int, const struct timespec*, struct timespec*);
typedef int (*poll_function)(struct pollfd*, nfds_t, int);
typedef int (*ppoll_function)(struct pollfd*, nfds_t, const struct timespec*, const sigset_t*);
typedef pid_t (*fork_function)(void);
typedef int (*getaddrinfo_function)(const char*, const char*, const struct addrinfo*,
                                    struct addrinfo**);

static struct clock_page* g_page;
static struct clock_slot* g_slot; /* this process's own */

static long futex(uint32_t* word, int operation, uint32_t value) {
  return syscall(SYS_futex, word, operation, value, NULL, NULL, 0);
}

static struct clock_page* open_page(void) {
  const char* program = getenv("SOAKCLOCK_PROGRAM");
  const char* path = getenv("SOAKCLOCK_PAGE");
  if (path == NULL ||
      strcmp(program_invocation_short_name, program != NULL ? program : "tvurev") != 0) {
    return NULL;
  }
  const int fd = (int)syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC);
  if (fd == -1) {
    return NULL;
  }
  void* page = mmap(NULL, sizeof(struct clock_page), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  syscall(SYS_close, fd);
  return page == MAP_FAILED ? NULL : page;
}

static struct clock_slot* take_slot(int32_t pid) {
  for (size_t i = 0; i < SHARED_CLOCK_SLOTS; ++i) {
    struct clock_slot* slot = &g_page->slots[i];
    uint32_t expected = SLOT_FREE;
    if (__atomic_compare_exchange_n(&slot->state, &expected, SLOT_RUNNING, false, __ATOMIC_SEQ_CST,
                                    __ATOMIC_SEQ_CST)) {
      __atomic_store_n(&slot->pid, pid, __ATOMIC_SEQ_CST);
      return slot;
    }
  }
  abort(); /* more processes than the daemon may ever have */
}

/* The first process takes its slot before main; forked ones get theirs in fork. */
__attribute__((constructor)) static void start_clock(void) {
  const int error = errno;
  g_page = open_page();
  if (g_page != NULL) {
    g_slot = take_slot((int32_t)getpid());
    __atomic_add_fetch(&g_page->changes, 1, __ATOMIC_SEQ_CST);
    futex(&g_page->changes, FUTEX_WAKE, INT_MAX);
  }
  errno = error;
}

static uint64_t now(void) {
  return __atomic_load_n(&g_page->now, __ATOMIC_SEQ_CST);
}

static uint64_t after(uint64_t nanoseconds) {
  return nanoseconds == SHARED_CLOCK_NEVER ? SHARED_CLOCK_NEVER : now() + nanoseconds;
}

static uint64_t nanoseconds_of(const struct timespec* time) {
  return (uint64_t)time->tv_sec * kSecond + (uint64_t)time->tv_nsec;
}

static struct timespec timespec_of(uint64_t nanoseconds) {
  return (struct timespec){(time_t)(nanoseconds / kSecond), (long)(nanoseconds % kSecond)};
}

static uint32_t last_wake(void) {
  return __atomic_load_n(&g_slot->wake, __ATOMIC_SEQ_CST);
}

/* Comes to rest until the wake after the one that was seen, or a signal. Returns
 * false for a signal. */
static bool rest(uint32_t seen, uint32_t waits, uint64_t asked, uint64_t deadline) {
  g_slot->waits = waits;
  g_slot->asked = asked;
  __atomic_store_n(&g_slot->deadline, deadline, __ATOMIC_SEQ_CST);
  __atomic_store_n(&g_slot->seen, seen, __ATOMIC_SEQ_CST);
  __atomic_store_n(&g_slot->state, SLOT_WAITING, __ATOMIC_SEQ_CST);
  __atomic_add_fetch(&g_page->changes, 1, __ATOMIC_SEQ_CST);
  futex(&g_page->changes, FUTEX_WAKE, INT_MAX);
  bool woken = true;
  while (woken && last_wake() == seen) {
    woken = futex(&g_slot->wake, FUTEX_WAIT, seen) == 0 || errno != EINTR;
  }
  __atomic_store_n(&g_slot->state, SLOT_RUNNING, __ATOMIC_SEQ_CST);
  return woken;
}

/* Returns what is left of the time when a signal ends it early. Keeps errno. */
static uint64_t wait_for_time(uint64_t nanoseconds) {
  const int error = errno;
  const uint64_t deadline = after(nanoseconds);
  bool woken = true;
  while (woken && now() < deadline) {
    const uint32_t seen = last_wake();
    woken = rest(seen, WAITS_FOR_TIME, nanoseconds, deadline);
  }
  errno = error;
  return now() < deadline ? deadline - now() : 0;
}

unsigned sleep(unsigned seconds) {
  if (g_page == NULL) {
    REAL(sleep_function, "sleep")
    return real(seconds);
  }
  return (unsigned)((wait_for_time(seconds * kSecond) + kSecond - 1) / kSecond);
}

int usleep(useconds_t microseconds) {
  if (g_page == NULL) {
    REAL(usleep_function, "usleep")
    return real(microseconds);
  }
  if (wait_for_time(microseconds * kMicrosecond) != 0) {
    errno = EINTR;
    return -1;
  }
  return 0;
}

/* Returns 0 or EINTR. */
static int sleep_for(const struct timespec* request, struct timespec* remaining) {
  const uint64_t left = wait_for_time(nanoseconds_of(request));
  if (left != 0 && remaining != NULL) {
    *remaining = timespec_of(left);
  }
  return left != 0 ? EINTR : 0;
}

int nanosleep(const struct timespec* request, struct timespec* remaining) {
  if (g_page == NULL) {
    REAL(nanosleep_function, "nanosleep")
    return real(request, remaining);
  }
  const int result = sleep_for(request, remaining);
  if (result != 0) {
    errno = result;
    return -1;
  }
  return 0;
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec* request,
                    struct timespec* remaining) {
  if (g_page == NULL || (flags & TIMER_ABSTIME) != 0) {
    REAL(clock_nanosleep_function, "clock_nanosleep")
    return real(clock, flags, request, remaining);
  }
  return sleep_for(request, remaining);
}

/* Looks at the descriptors without waiting; a signal that the mask lets through
 * shows as EINTR. */
static int look(struct pollfd* fds, nfds_t count, const sigset_t* mask) {
  struct timespec none = {0, 0};
  return (int)syscall(SYS_ppoll, fds, count, &none, mask, sizeof(uint64_t));
}

static int wait_for_descriptors(struct pollfd* fds, nfds_t count, uint64_t timeout,
                                const sigset_t* mask) {
  const int error = errno;
  const uint64_t deadline = after(timeout);
  uint32_t waits = WAITS_FOR_INPUT;
  for (nfds_t i = 0; i < count; ++i) {
    waits |= (fds[i].events & POLLOUT) != 0 ? WAITS_FOR_ROOM : WAITS_FOR_TIME;
  }
  while (true) {
    const uint32_t seen = last_wake();
    const int ready = look(fds, count, mask);
    if (ready != 0) {
      return ready;
    }
    if (now() >= deadline) {
      errno = error;
      return 0;
    }
    if (!rest(seen, waits, timeout, deadline)) {
      errno = EINTR;
      return -1;
    }
  }
}

int poll(struct pollfd* fds, nfds_t count, int timeout_ms) {
  if (g_page == NULL) {
    REAL(poll_function, "poll")
    return real(fds, count, timeout_ms);
  }
  const uint64_t timeout =
      timeout_ms < 0 ? SHARED_CLOCK_NEVER : (uint64_t)timeout_ms * kMillisecond;
  return wait_for_descriptors(fds, count, timeout, NULL);
}

int ppoll(struct pollfd* fds, nfds_t count, const struct timespec* timeout, const sigset_t* mask) {
  if (g_page == NULL) {
    REAL(ppoll_function, "ppoll")
    return real(fds, count, timeout, mask);
  }
  return wait_for_descriptors(fds, count,
                              timeout == NULL ? SHARED_CLOCK_NEVER : nanoseconds_of(timeout), mask);
}

int __poll_chk(struct pollfd* fds, nfds_t count, int timeout_ms, size_t fds_size) {
  if (fds_size / sizeof *fds < count) {
    abort();
  }
  return poll(fds, count, timeout_ms);
}

int __ppoll_chk(struct pollfd* fds, nfds_t count, const struct timespec* timeout,
                const sigset_t* mask, size_t fds_size) {
  if (fds_size / sizeof *fds < count) {
    abort();
  }
  return ppoll(fds, count, timeout, mask);
}

int accept(int fd, __SOCKADDR_ARG address, socklen_t* restrict length) {
  struct pollfd entry = {fd, POLLIN, 0};
  if (g_page != NULL && wait_for_descriptors(&entry, 1, SHARED_CLOCK_NEVER, NULL) == -1) {
    return -1;
  }
  return (int)syscall(SYS_accept, fd, address.__sockaddr__, length);
}

pid_t fork(void) {
  REAL(fork_function, "fork")
  if (g_page == NULL) {
    return real();
  }
  struct clock_slot* slot = take_slot(0);
  const pid_t child = real();
  if (child == 0) {
    g_slot = slot;
  }
  if (child == -1) {
    __atomic_store_n(&slot->state, SLOT_FREE, __ATOMIC_SEQ_CST);
  } else {
    __atomic_store_n(&slot->pid, child == 0 ? (int32_t)getpid() : (int32_t)child, __ATOMIC_SEQ_CST);
  }
  return child;
}

int getaddrinfo(const char* name, const char* service, const struct addrinfo* hints,
                struct addrinfo** result) {
  REAL(getaddrinfo_function, "getaddrinfo")
  while (g_page != NULL && __atomic_load_n(&g_page->names_silent, __ATOMIC_SEQ_CST) != 0) {
    wait_for_time(SHARED_CLOCK_NEVER);
  }
  return real(name, service, hints, result);
}

int clock_gettime(clockid_t clock, struct timespec* time) {
  const bool shown = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE ||
                     clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_COARSE ||
                     clock == CLOCK_MONOTONIC_RAW || clock == CLOCK_BOOTTIME;
  if (g_page == NULL || !shown) {
    return (int)syscall(SYS_clock_gettime, clock, time);
  }
  const bool calendar = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
  *time = timespec_of(now() + (calendar ? g_page->realtime_at_0 : g_page->monotonic_at_0));
  return 0;
}

int gettimeofday(struct timeval* time, void* zone) {
  (void)zone;
  struct timespec precise = {0, 0};
  const int result = clock_gettime(CLOCK_REALTIME, &precise);
  *time = (struct timeval){precise.tv_sec, precise.tv_nsec / 1000};
  return result;
}

time_t time(time_t* result) {
  struct timespec precise = {0, 0};
  clock_gettime(CLOCK_REALTIME, &precise);
  if (result != NULL) {
    *result = precise.tv_sec;
  }
  return precise.tv_sec;
}
