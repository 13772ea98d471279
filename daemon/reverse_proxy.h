// SPDX-License-Identifier: Apache-2.0
// The globals that the daemon's two loops share with their parts. One copy a
// process: the socket proxy is a forked child and works on its own.
// docs/architecture.md shows the processes and the states of the BMC loop.
#ifndef TVUREV_DAEMON_REVERSE_PROXY_H_
#define TVUREV_DAEMON_REVERSE_PROXY_H_

#include <poll.h>

#include <array>
#include <cstdint>

extern int32_t bmc_fd;                  // BMC channel, -1 when none is open; set by the BMC loop
extern int32_t proxy_running;           // 1 once start-up is complete; nothing clears it
extern int32_t host_snmp_enabled;       // result of the host SNMP check; set by start-up
extern int32_t numfds;                  // entries of poll_fds in use; reset in each loop cycle
extern std::array<pollfd, 1> poll_fds;  // polled by the loop of the current process
extern uint32_t connect_param;          // 32-bit parameter of the connect request
extern int32_t chif_retry_count;        // write attempts, and polls a cycle, of the handshake
extern uint32_t chif_seqno;  // running sequence number; handshake and dispatch advance it

// Puts a descriptor into poll_fds[numfds] and counts it. Without a free entry
// nothing changes.
void add_poll_entry(int fd, short events);

#endif  // TVUREV_DAEMON_REVERSE_PROXY_H_
