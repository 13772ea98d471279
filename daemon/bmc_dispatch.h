// SPDX-License-Identifier: Apache-2.0
// Reads one packet from the BMC and does what it asks for: a log text goes to
// the system log and is acknowledged, a shutdown request is carried out or
// aborted and acknowledged, a notification becomes a trap.
// docs/protocol-chif.md lists the packets. Runs in the BMC loop's process.
#ifndef TVUREV_DAEMON_BMC_DISPATCH_H_
#define TVUREV_DAEMON_BMC_DISPATCH_H_

#include <cstdint>

// 0 when the last bmc_recv got a packet, else why it did not: the errno of its
// read, ENODATA for an empty one, ENOMEM. The loop paces its rounds by it.
extern int32_t bmc_read_error;

// Reads and handles one packet; blocks until there is one. Returns 1 when a
// notification announced the BMC's reset, -1 when the trap sender failed, else
// 0: malformed packets are logged and dropped. Sets errno: 0 at its start, then
// the status of the packet. An acknowledgement is repeated every millisecond for
// as long as the device is busy, but given up when a signal ends the daemon
// (signals.h) or, within a quarter of a second or so, when the BMC stop file is
// there.
int bmc_recv(int fd);

#endif  // TVUREV_DAEMON_BMC_DISPATCH_H_
