// SPDX-License-Identifier: Apache-2.0
// tvurev: relays the notifications of the server's BMC to the trap receivers of
// the host. Takes no command line; tvurev(8) describes what steers it.

#include <optional>

#include "daemon/agent_socket.h"
#include "daemon/bmc_loop.h"
#include "daemon/reverse_proxy.h"
#include "daemon/signals.h"
#include "daemon/startup.h"
#include "daemon/state_file.h"
#include "trap/host_address.h"

namespace {

// Exit status 0, which no supervisor takes for a wish to be started again.
int leave_signalled() {
  log_signalled_end("start");
  return 0;
}

void find_host_address() {
  const OpenToSignals open;  // it asks a command
  get_host_ipaddress();
}

}  // namespace

int main() {
  prepare_process();
  note_bmc_state(BmcState::kStarting);
  if (const std::optional<int> status = check_gates()) {
    return end_signalled() ? leave_signalled() : *status;
  }
  prepare_host();
  if (end_signalled()) {
    return leave_signalled();
  }
  // Before the loop, which never returns; the child has the gates' results.
  if (proxy_running != 0) {
    start_socket_proxy();
  }
  find_host_address();
  return run_bmc_loop();
}
