/* SPDX-License-Identifier: Apache-2.0 */
/* libleapingclock.so: for a program that looks for something again and again, with
 * usleep between two looks, until its patience is over. Each usleep takes a
 * seventh of a second, in which whoever was killed is gone, and the clock that it
 * measures its patience by leaps by a second. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <time.h>
#include <unistd.h>

typedef int (*clock_gettime_function)(clockid_t, struct timespec*);

static time_t leaps = 0;

int usleep(useconds_t microseconds) {
  static const struct timespec kMoment = {0, 150000000};
  (void)microseconds;
  ++leaps;
  return nanosleep(&kMoment, NULL);
}

int clock_gettime(clockid_t clock, struct timespec* now) {
  clock_gettime_function real;
  *(void**)(&real) = dlsym(RTLD_NEXT, "clock_gettime");
  const int result = real(clock, now);
  if (clock == CLOCK_MONOTONIC) {
    now->tv_sec += leaps;
  }
  return result;
}
