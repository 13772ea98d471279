// SPDX-License-Identifier: Apache-2.0
// Lets every debug message through to the script's logs.
#ifndef TVUREV_TESTS_UNIT_HOSTINFO_DEBUG_LOG_H_
#define TVUREV_TESTS_UNIT_HOSTINFO_DEBUG_LOG_H_

#include "log/debug_flags.h"
#include "tests/support/call_script.h"

struct DebuggedScript : CallScript {
  DebuggedScript() {
    g_utilities_debug_flag = 1;
    file("/tmp/ortAll.text");
  }
  ~DebuggedScript() { g_utilities_debug_flag = 0; }
  DebuggedScript(const DebuggedScript&) = delete;
  DebuggedScript& operator=(const DebuggedScript&) = delete;
};

#endif  // TVUREV_TESTS_UNIT_HOSTINFO_DEBUG_LOG_H_
