// SPDX-License-Identifier: Apache-2.0
#include "ortinv/interval.h"

#include <unistd.h>

#include <array>
#include <cstdio>

#include "bmc/channel.h"
#include "bmc/nvram.h"
#include "log/log.h"
#include "ortinv/variables.h"
#include "wire/kcs.h"
#include "wire/little_endian.h"

namespace {

constexpr int kAttempts = 3;

using IntervalBytes = std::array<uint8_t, sizeof(uint32_t)>;

// Where failures are printed. Written by ortinv_set_print_stream only; until then
// it is whatever standard output is at the time.
FILE* g_print_stream;
bool g_has_print_stream;

// Null where the user wants none of it.
FILE* print_stream() {
  return g_has_print_stream ? g_print_stream : stdout;
}

bool read_variable(int fd, int selector, IntervalBytes& value, uint8_t& status) {
  // Another selector counts as read with the value 0: no caller is told that it
  // asked for nothing (docs/oddities.md: unknown-interval-is-zero).
  const char* variable = ortinv_interval_variable(selector);
  if (variable == nullptr) {
    return true;
  }
  for (int attempts_left = kAttempts - 1; attempts_left >= 0; --attempts_left) {
    uint16_t length = 0;
    if (OsGetEV(fd, variable, value.data(), sizeof(IntervalBytes), &status, &length) == 0) {
      return true;
    }
    DebugLog("utils: getIntervalEV(): retries [%d]\n", attempts_left);
    sleep(1);
  }
  return false;
}

uint32_t interval_of(int selector, const IntervalBytes& value, uint8_t status) {
  if (status == nvram::response::kNotFound) {
    DebugLog("utils: getIntervalEV(): GetEV Success! EV Not Found. Creating EV, disabled.\n");
    // Inverted, as callers know it: success is what is reported as a failure
    // (docs/oddities.md: interval-success-called-failure).
    if (setIntervalEV(selector, 0) == 0) {
      if (FILE* out = print_stream(); out != nullptr) {
        fputs("Create and Set Interval EV Failed!\n", out);
      }
      DebugLog("utils: getIntervalEV(): Create and Set Interval EV Failed!.\n");
    }
    return 0;
  }
  if (status != nvram::response::kSuccess) {
    DebugLog("utils: getIntervalEV(): Get Periodic Trap Interval Failed! return status [0x%x]\n",
             status);
    if (FILE* out = print_stream(); out != nullptr) {
      fprintf(out, " Get Periodic Trap Interval Failed! return status [0x%x]\n", status);
    }
    return 0;
  }
  const uint32_t interval = get_u32(value, 0);
  DebugLog("utils: getIntervalEV(): GetEV Success! EV value is [0x%x]\n", interval);
  return interval;
}

}  // namespace

// A missing variable is created while this channel is still open, so that the
// setter takes the next lower one.
uint32_t getIntervalEV(int selector) {
  const int fd = mox_chrdev(nullptr);
  DebugLog("utils: getIntervalEV(): openMP returns mox_fd [%d].\n", fd);
  uint32_t interval = 0;
  if (fd != -1) {
    IntervalBytes value = {};
    uint8_t status = 0;
    if (read_variable(fd, selector, value, status)) {
      interval = interval_of(selector, value, status);
    }
    close_channel(fd);
  }
  DebugLog("utils: getIntervalEV(): return interval [%d]\n", static_cast<int>(interval));
  return interval;
}

int setIntervalEV(int selector, uint32_t value) {
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    return 1;
  }
  IntervalBytes bytes = {};
  put_u32(bytes, 0, value);
  uint8_t status = 0;
  int result = 0;
  if (const char* variable = ortinv_interval_variable(selector); variable != nullptr) {
    result = OsSetEV(fd, variable, bytes.data(), sizeof(IntervalBytes), &status);
  }
  if (result == 0) {
    if (status != nvram::response::kSuccess) {
      DebugLog("utils: setIntervalEV(): Set Periodic Trap Interval Failed with error [0x%x]!\n",
               status);
      if (FILE* out = print_stream(); out != nullptr) {
        fprintf(out, "Set Periodic Trap Interval Failed with error [0x%x]!\n", status);
      }
      result = 1;
    } else {
      DebugLog("utils: setIntervalEV(): Set PeriodicTrapInterval EV Success!\n");
    }
  }
  close_channel(fd);
  return result;
}

void ortinv_set_print_stream(FILE* stream) {
  g_print_stream = stream;
  g_has_print_stream = true;
}
