/* SPDX-License-Identifier: Apache-2.0 */
/* Waits in every way the clock knows, and says how each call came back. Run by
 * test_clock_test with the clock preloaded. */
#define _GNU_SOURCE
#include <errno.h>
#include <poll.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

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
  errno = 0;
  result = poll(nowhere, 1, 0);
  printf("bad poll %d errno %d\n", result, errno == EFAULT);
  /* The lowest free descriptor is another one if the clock keeps any. */
  printf("descriptors kept %d\n", dup(1) - free_descriptor);
  return 0;
}
