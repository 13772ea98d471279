// SPDX-License-Identifier: Apache-2.0
// Reads one packet from the BMC and does what it asks for: a log text goes to
// the system log and is acknowledged, a shutdown request is carried out or
// aborted and acknowledged, a notification becomes a trap.
// docs/protocol-chif.md lists the packets. Runs in the BMC loop's process.
#ifndef TVUREV_DAEMON_BMC_DISPATCH_H_
#define TVUREV_DAEMON_BMC_DISPATCH_H_

// Reads and handles one packet; blocks until there is one. Returns 1 when a
// notification announced the BMC's reset, -1 when the trap sender failed, else
// 0: malformed packets are logged and dropped. Sets errno: 0 at its start, then
// the status of the packet. An acknowledgement is repeated every millisecond for
// as long as the device is busy.
int bmc_recv(int fd);

#endif  // TVUREV_DAEMON_BMC_DISPATCH_H_
