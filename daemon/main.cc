// SPDX-License-Identifier: Apache-2.0
// tvurev: relays the notifications of the server's BMC to the trap receivers of
// the host. Takes no command line; tvurev(8) describes what steers it.

#include <optional>

#include "daemon/agent_socket.h"
#include "daemon/bmc_loop.h"
#include "daemon/reverse_proxy.h"
#include "daemon/startup.h"
#include "trap/host_address.h"

int main() {
  if (const std::optional<int> status = check_gates()) {
    return *status;
  }
  prepare_host();
  // Before the loop, which never returns; the child has the gates' results.
  if (proxy_running != 0) {
    start_socket_proxy();
  }
  get_host_ipaddress();
  return run_bmc_loop();
}
