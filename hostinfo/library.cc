// SPDX-License-Identifier: Apache-2.0
#include "ortinv/library.h"

#include "log/debug_flags.h"

const char* ortinv_version() {
  return ORTINV_VERSION;
}

void ortinv_init_debug_log() {
  InitDebugFlag();
}
