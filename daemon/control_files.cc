// SPDX-License-Identifier: Apache-2.0
#include "daemon/control_files.h"

#include <syslog.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "base/file.h"
#include "daemon/shell_command.h"
#include "daemon/signals.h"
#include "log/log.h"
#include "wire/host_files.h"

const char* g_running_file = host_files::kRunning;
const char* g_bmc_stop_file = host_files::kBmcStop;
const char* g_ort_stop_file = host_files::kOrtStop;

namespace {

using host_files::kRestart;
using host_files::kRestartCheckSeconds;

// Through the shell: the file comes out as an operator's own touch would make it.
// Whether the command succeeded.
bool touch(const char* path) {
  std::array<char, 256> command = {};
  snprintf(command.data(), command.size(), "touch %s", path);
  return run_shell_command(command.data()) == 0;
}

}  // namespace

int running_file_exists() {
  return exists(g_running_file) ? 1 : 0;
}

bool create_running_file() {
  return running_file_exists() != 0 || touch(g_running_file);
}

void remove_running_file() {
  unlink(g_running_file);
}

void request_stop() {
  touch(g_ort_stop_file);
  touch(g_bmc_stop_file);
}

int ortstop_requested() {
  return exists(g_ort_stop_file) ? 1 : 0;
}

int bmcstop_requested() {
  return exists(g_bmc_stop_file) ? 1 : 0;
}

void clear_ortstop() {
  unlink(g_ort_stop_file);
}

void clear_bmcstop() {
  unlink(g_bmc_stop_file);
}

int restart_requested() {
  if (!exists(kRestart)) {
    return 0;
  }
  // Logged first: what cannot be removed is seen again after the restart, and
  // the log then shows why the daemon keeps restarting.
  Log(LOG_INFO, "tvurev: Detected TVUREV enable/disable. Restarting tvurev ....\n");
  unlink(kRestart);
  return 1;
}

int wait_for_restart() {
  int requested = restart_requested();
  while (requested == 0) {
    if (!pause_seconds(kRestartCheckSeconds)) {
      return 0;
    }
    requested = restart_requested();
  }
  return requested;
}
