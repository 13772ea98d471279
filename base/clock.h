// SPDX-License-Identifier: Apache-2.0
// The time that only ever goes forward.
#ifndef TVUREV_BASE_CLOCK_H_
#define TVUREV_BASE_CLOCK_H_

#include <cstdint>
#include <ctime>

// Milliseconds since some moment of the past; setting the host's clock does not
// change it. Leaves errno alone.
inline int64_t monotonic_ms() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return int64_t{now.tv_sec} * 1'000 + now.tv_nsec / 1'000'000;
}

#endif  // TVUREV_BASE_CLOCK_H_
