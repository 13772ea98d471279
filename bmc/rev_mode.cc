// SPDX-License-Identifier: Apache-2.0
#include "ortinv/rev_mode.h"

#include <unistd.h>

#include "bmc/channel.h"
#include "bmc/nvram.h"
#include "log/log.h"
#include "wire/kcs.h"

namespace {

constexpr int kAttempts = 3;

bool read_variable(int fd, uint8_t& value, uint8_t& status) {
  for (int attempts_left = kAttempts - 1; attempts_left >= 0; --attempts_left) {
    uint16_t length = 0;
    if (OsGetEV(fd, nvram::kRevModeVariable, &value, sizeof value, &status, &length) == 0) {
      return true;
    }
    DebugLog("utils: getRevModeConfig(): retries [%d]\n", attempts_left);
    sleep(1);
  }
  return false;
}

int mode_of(uint8_t value, uint8_t status) {
  if (status == nvram::response::kNotFound) {
    DebugLog("utils: getRevModeConfig(): GetEV Success! EV Not Found. Creating EV, disabled.\n");
    // A failure changes nothing here: a missing variable reads as disabled anyway.
    setRevModeConfig(0);
    return 0;
  }
  if (status != nvram::response::kSuccess) {
    DebugLog("utils: getRevModeConfig(): Get TVU EV Failed! return status [0x%x]\n", status);
    return 0;
  }
  DebugLog("utils: getRevModeConfig(): GetEV Success! EV value is [0x%x]\n", value);
  return value;
}

}  // namespace

// Unreadable and disabled look alike to the daemon, which then waits for a
// restart request instead of asking again.
int getRevModeConfig() {
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    return 0;
  }
  uint8_t value = 0;
  uint8_t status = 0;
  const int mode = read_variable(fd, value, status) ? mode_of(value, status) : 0;
  close_channel(fd);
  return mode;
}

int setRevModeConfig(uint8_t value) {
  const int fd = mox_chrdev(nullptr);
  if (fd == -1) {
    return 1;
  }
  uint8_t status = 0;
  int result = OsSetEV(fd, nvram::kRevModeVariable, &value, sizeof value, &status);
  if (result == 0) {
    if (status != nvram::response::kSuccess) {
      DebugLog("utils: setRevModeConfig(): setEV Failed with error [0x%x]!\n", status);
      result = 1;
    } else {
      DebugLog("utils: setRevModeConfig(): SetEV Success!\n");
    }
  }
  close_channel(fd);
  return result;
}
