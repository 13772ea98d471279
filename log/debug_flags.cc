// SPDX-License-Identifier: Apache-2.0
#include "log/debug_flags.h"

#include "base/file.h"
#include "log/switches.h"

int32_t g_utilities_debug_flag = 0;
int32_t g_daemon_debug_flag = 0;
int32_t g_chif_dump_flag = 0;
int32_t g_agentx_dump_flag = 0;

// Only ever sets: a process that set the flag itself keeps it.
void InitDebugFlag() {
  if (belongs_to_root(kUtilitiesSwitch)) {
    g_utilities_debug_flag = 1;
  }
}

void InitDaemonDebugFlags() {
  g_daemon_debug_flag = belongs_to_root(kDaemonSwitch) ? 1 : 0;
  g_chif_dump_flag = belongs_to_root(kChifSwitch) ? 1 : 0;
  g_agentx_dump_flag = belongs_to_root(kAgentxSwitch) ? 1 : 0;
}
