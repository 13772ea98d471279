// SPDX-License-Identifier: Apache-2.0
// The listening socket of the socket proxy, "/opt/ortdv/sockets/agentx/tvud", and
// whether that path still leads to it: a tvurev that is started again puts a
// socket of its own there, and no agent reaches the old one any more.
#ifndef TVUREV_DAEMON_AGENT_LISTENER_H_
#define TVUREV_DAEMON_AGENT_LISTENER_H_

// Makes the socket in the place of whatever is there, close-on-exec, with a
// backlog of 5. Exits the process with status 1 on failure, after a debug line
// and one at priority 3 that says why.
int open_listener();

// Whether the path leads to the socket that open_listener bound.
bool listener_is_reachable();

// Accepts a client, close-on-exec. Exits as open_listener does.
int accept_from(int listener);

#endif  // TVUREV_DAEMON_AGENT_LISTENER_H_
