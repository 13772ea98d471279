/* SPDX-License-Identifier: Apache-2.0 */
/* Waits in every way the clock knows, and says how each call came back. Run by
 * test_clock_test with the clock preloaded. */
#define _GNU_SOURCE
#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

static void note(int number) {
  (void)number;
}

/* It comes while it is held back, and is let in by the pause. */
static void pause_with_a_signal(void) {
  const struct timespec day = {86400, 0};
  sigset_t none;
  sigset_t user;
  sigemptyset(&none);
  sigemptyset(&user);
  sigaddset(&user, SIGUSR1);
  signal(SIGUSR1, note);
  sigprocmask(SIG_BLOCK, &user, NULL);
  raise(SIGUSR1);
  const int result = ppoll(NULL, 0, &day, &none);
  printf("pause with a signal %d errno %d\n", result, errno == EINTR);
}

int main(void) {
  struct pollfd none = {.fd = -1, .events = POLLIN, .revents = 0};
  const struct timespec long_time = {7200, 500000000};
  struct pollfd* volatile nowhere = NULL;
  int result = 0;
  const int free_descriptor = dup(1);

  close(free_descriptor);
  errno = EXDEV;
  result = (int)sleep(86400);
  printf("sleep %d errno %d\n", result, errno == EXDEV);
  result = usleep(900000000);
  printf("usleep %d errno %d\n", result, errno == EXDEV);
  result = nanosleep(&long_time, NULL);
  printf("nanosleep %d errno %d\n", result, errno == EXDEV);
  result = clock_nanosleep(CLOCK_MONOTONIC, 0, &long_time, NULL);
  printf("clock_nanosleep %d errno %d\n", result, errno == EXDEV);
  result = poll(&none, 1, 1000000000);
  printf("poll %d errno %d\n", result, errno == EXDEV);
  const struct timespec short_time = {0, 1500000};
  const struct timespec whole_seconds = {30, 0};
  const struct timespec poll_time = {1, 500000000};
  result = ppoll(NULL, 0, &whole_seconds, NULL);
  printf("pause %d errno %d\n", result, errno == EXDEV);
  result = ppoll(NULL, 0, &short_time, NULL);
  printf("short pause %d errno %d\n", result, errno == EXDEV);
  result = ppoll(&none, 1, &poll_time, NULL);
  printf("ppoll %d errno %d\n", result, errno == EXDEV);
  pause_with_a_signal();
  errno = 0;
  result = poll(nowhere, 1, 0);
  printf("bad poll %d errno %d\n", result, errno == EFAULT);
  /* The lowest free descriptor is another one if the clock keeps any. */
  printf("descriptors kept %d\n", dup(1) - free_descriptor);
  return 0;
}
