// SPDX-License-Identifier: Apache-2.0
// The BMC loop: opens a channel, greets the BMC, relays what it sends, and
// starts over when the channel is lost. docs/architecture.md shows its states.
// Runs in the first process for the rest of its life.
#ifndef TVUREV_DAEMON_BMC_LOOP_H_
#define TVUREV_DAEMON_BMC_LOOP_H_

// Runs while proxy_running is set. Exits the process with status 1 when the BMC
// stop file appears, within about a second. Retries without limit: 10 s after a
// failed open, 10 s between three hellos, 15 s after a failed connect, 10 s
// after a reset of the BMC, and after a session that the BMC cut short (pacing.h).
// Exits with status 0 within a second of SIGTERM or SIGINT, in any state, after
// telling the BMC, when it is connected, and the socket proxy. Returns 0, the process's exit
// status, were proxy_running ever cleared.
int run_bmc_loop();

#endif  // TVUREV_DAEMON_BMC_LOOP_H_
