// SPDX-License-Identifier: Apache-2.0
// The debug switches: four process-wide flags that marker files under /tmp turn
// on. They are read once at start-up; child processes inherit them. A marker
// file counts only when root owns it, and the link where it is one, so that a local
// user cannot make the daemon talkative.
#ifndef TVUREV_LOG_DEBUG_FLAGS_H_
#define TVUREV_LOG_DEBUG_FLAGS_H_

#include <cstdint>

// Each is 0 or 1. Written by the two functions below only.
extern int32_t g_utilities_debug_flag;  // "/tmp/ortdebug.text"; read by DebugLog
extern int32_t g_daemon_debug_flag;     // "/tmp/tvud.text"; read by DaemonDebug
extern int32_t g_chif_dump_flag;        // "/tmp/chif.text"; read by the packet dumps
extern int32_t g_agentx_dump_flag;      // "/tmp/agentx.text"; read by the packet dumps

// Sets the utilities debug flag when its marker file exists and belongs to
// root. Never clears it.
void InitDebugFlag();

// Clears the daemon's three flags, then sets each whose marker file exists and
// belongs to root.
void InitDaemonDebugFlags();

#endif  // TVUREV_LOG_DEBUG_FLAGS_H_
