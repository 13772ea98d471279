// SPDX-License-Identifier: Apache-2.0
// Opens the BMC channel, greets the BMC in reverse mode and says goodbye.
// docs/protocol-chif.md shows the packets. Runs in the BMC loop's process.
// Failures are logged at priority 3 and returned; none but bmc_init changes
// bmc_fd.
#ifndef TVUREV_DAEMON_HANDSHAKE_H_
#define TVUREV_DAEMON_HANDSHAKE_H_

#include <cstdint>

// Opens a channel into bmc_fd when it is -1; leaves -1 there on failure.
void bmc_init();

// Says hello with the running sequence number and waits for the reply. Returns
// 0 when a reply with this number or one of the next two came, and also when
// none came within a cycle of chif_retry_count polls of 10 seconds, since a
// silent BMC may still send (docs/oddities.md: silent-bmc-is-greeted). Returns -1
// when the write keeps failing, on a poll or read error, a reply of fewer than 17
// bytes, or an error code in it, and when a signal ends the daemon (signals.h). A reply that says
// there is more starts a fresh cycle.
int do_hello_rev(int fd);

// Connects: as do_hello_rev, but with sequence number 0, param in the request,
// and a reply of 16 bytes is enough.
int do_connect_rev(int fd, uint32_t param);

// Says goodbye, waits up to 1,000 seconds for the reply (400 ms when a signal is
// ending the daemon; one that comes meanwhile ends the wait) and closes fd, unless
// it is -1, in every case; the caller forgets its number. long_form chooses the
// 16-byte request and a 4084-byte reply instead of 12 and 12. Returns 0, also
// when no reply came; the write's result when it was short (0 too, and no reply
// is waited for); else -1.
int go_bye(int fd, int long_form);

#endif  // TVUREV_DAEMON_HANDSHAKE_H_
