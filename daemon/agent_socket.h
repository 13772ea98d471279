// SPDX-License-Identifier: Apache-2.0
// The socket proxy: serves the local stream socket
// "/opt/ortdv/sockets/agentx/tvud" through which a forward-mode management agent
// on the host hands over its notifications. A forked child in its own session,
// with descriptor 0 on "/dev/null" and 1 and 2 closed (they soon are sockets:
// nothing here writes to standard output or standard error). Serves one client
// at a time; up to 5 more wait.
#ifndef TVUREV_DAEMON_AGENT_SOCKET_H_
#define TVUREV_DAEMON_AGENT_SOCKET_H_

// Forks the socket proxy and returns at once in the parent, which keeps its
// number (children.h); without a process for it, after a line at priority 3. The
// child exits
//   1  when the socket cannot be set up, accept fails, or the host-agent stop file
//      appears;
//   0  on SIGTERM or SIGINT, within a second, after removing the running file;
//   0  once the socket's path leads to another process's socket and no client is
//      left: seen within a second. The running file is the other's then.
void start_socket_proxy();

// Receives at most 4080 bytes from the client and relays them as one
// notification, whatever its PDU type. Returns 0, also at the end of the
// stream, or -1 when nothing could be received or the trap sender failed.
int proxy_ortd_trap(int client);

#endif  // TVUREV_DAEMON_AGENT_SOCKET_H_
