// SPDX-License-Identifier: Apache-2.0
#include "ortinv/variables.h"

#include <array>

#include "bmc/channel.h"
#include "bmc/nvram.h"
#include "wire/kcs.h"

namespace {

struct Interval {
  int selector;
  const char* variable;
};

// Ascending, as they are listed.
constexpr std::array<Interval, 3> kIntervals = {{{8, nvram::kInterval8Variable},
                                                 {9, nvram::kInterval9Variable},
                                                 {10, nvram::kInterval10Variable}}};

}  // namespace

const char* ortinv_mode_variable() {
  return nvram::kRevModeVariable;
}

const char* ortinv_interval_variable(int selector) {
  for (const Interval& interval : kIntervals) {
    if (interval.selector == selector) {
      return interval.variable;
    }
  }
  return nullptr;
}

int ortinv_interval_selector(uint32_t index) {
  return index < kIntervals.size() ? kIntervals[index].selector : -1;
}

int ortinv_read_variable(const char* name, uint8_t* value, uint16_t capacity, uint16_t* length,
                         uint8_t* status) {
  uint16_t filled = 0;
  uint8_t answer = nvram::response::kSuccess;
  int result = kOrtinvReadNoChannel;
  const int fd = mox_chrdev(nullptr);
  if (fd != -1) {
    if (OsGetEV(fd, name, value, capacity, &answer, &filled) != 0) {
      result = kOrtinvReadNoAnswer;
    } else if (answer == nvram::response::kSuccess) {
      result = kOrtinvReadThere;
    } else if (answer == nvram::response::kNotFound) {
      result = kOrtinvReadMissing;
    } else {
      result = kOrtinvReadRefused;
    }
    close_channel(fd);
  }
  if (length != nullptr) {
    *length = filled;
  }
  if (status != nullptr) {
    *status = answer;
  }
  return result;
}
