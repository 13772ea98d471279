// SPDX-License-Identifier: Apache-2.0
#include "daemon/shell_command.h"

#include "base/file.h"
#include "daemon/signals.h"

int run_shell_command(const char* command) {
  const OpenToSignals open;
  // Not system(): it ignores SIGINT while it waits, and the one that should end
  // the daemon would be lost.
  Command output = start_command(command);
  return output == nullptr ? -1 : pclose(output.release());
}
