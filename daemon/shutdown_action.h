// SPDX-License-Identifier: Apache-2.0
// Carries out a shutdown or reboot that the BMC asked for, after its delay, in
// a timer process of its own, so that the daemon goes on relaying and can still
// abort it.
#ifndef TVUREV_DAEMON_SHUTDOWN_ACTION_H_
#define TVUREV_DAEMON_SHUTDOWN_ACTION_H_

#include <cstdint>

// What fork returned for the last timer started, -1 of a failed fork included;
// 0 means no timer. Set by do_shutdown, cleared by abort_shutdown.
extern int32_t shutdown_timer_pid;

// 1 when the BMC's last request was an abort. Set by the dispatcher.
extern int32_t shutdown_aborted;

// Starts a timer process and returns 0 in the daemon. The timer closes the BMC
// channel that it inherited and dies of SIGTERM as any program does. It waits for the
// delay, rounded up to a multiple of 5 seconds (none for 0 or below), then runs
// "reboot" through the shell for any action but 0, "poweroff" for 0, and exits
// with 0. reason is a terminated text for the log. A timer that was started
// before goes on and can no longer be aborted, its number being forgotten
// (docs/oddities.md: first-of-two-timers).
int do_shutdown(uint32_t action, int32_t delay_seconds, const char* reason);

// Kills the timer with SIGKILL, reaps it (children.h) and forgets it; logs that there is none
// otherwise.
void abort_shutdown();

#endif  // TVUREV_DAEMON_SHUTDOWN_ACTION_H_
