// SPDX-License-Identifier: Apache-2.0
// The first process's children: the socket proxy, and shutdown timers that were
// killed. A timer that has finished stays unreaped while its number is kept
// (shutdown_action.h): the number must not become another process's.
#ifndef TVUREV_DAEMON_CHILDREN_H_
#define TVUREV_DAEMON_CHILDREN_H_

#include <cstdint>

// The socket proxy's number, 0 when there is none (any more). Set by
// start_socket_proxy.
extern int32_t socket_proxy_pid;

// Notes that a child ended which was reaped with this status. Logs at priority 3
// when it was the socket proxy and did not leave with a status of its own, 0 or
// 1, which it explains itself.
void note_ended_child(int32_t pid, int status);

// Reaps a timer that was killed, now or, when it is not dead yet, by
// reap_ended_children.
void reap_killed_timer(int32_t pid);

// Reaps the socket proxy and a killed timer where they have ended. Costs no call
// while there is neither.
void reap_ended_children();

// Asks the socket proxy to end.
void end_socket_proxy();

// Waits at most 400 ms until it has ended, and reaps it.
void await_socket_proxy();

#endif  // TVUREV_DAEMON_CHILDREN_H_
