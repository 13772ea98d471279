// SPDX-License-Identifier: Apache-2.0
#include "daemon/reverse_proxy.h"

#include <cstddef>

int32_t bmc_fd = -1;
int32_t proxy_running = 0;
int32_t host_snmp_enabled = 0;
int32_t numfds = 0;
std::array<pollfd, 1> poll_fds = {};
uint32_t connect_param = 0;
int32_t chif_retry_count = 30;
uint32_t chif_seqno = 0;

// Only the first entry is ever polled, so there is room for one; the count is kept
// for the lines that show it.
void add_poll_entry(int fd, short events) {
  const auto entry = static_cast<size_t>(numfds);
  if (entry < poll_fds.size()) {
    poll_fds[entry] = {.fd = fd, .events = events, .revents = 0};
    ++numfds;
  }
}
