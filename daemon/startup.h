// SPDX-License-Identifier: Apache-2.0
// May the daemon run on this host at all? And what it sets up before it does.
// Runs in the first process, before any fork.
#ifndef TVUREV_DAEMON_STARTUP_H_
#define TVUREV_DAEMON_STARTUP_H_

#include <optional>

// Makes the process what it is on every host, whoever started it: file mode
// creation mask 022, since a marker file that anybody may write is a switch for
// anybody; PATH set to the system's directories where it is unset or empty;
// signals watched (signals.h). Before anything else.
void prepare_process();

// Checks, in this order: the BMC driver's node, the server's generation, the
// BMC's reverse-mode variable, the host's SNMP agent. Logs what it finds; two
// refusals are also printed on standard output. Returns nothing when the daemon
// may run. Otherwise returns the exit status: 0 at once when the driver or a
// supported server is missing; 1 after a restart was requested while reverse
// mode or host SNMP is off, which may take for ever (control_files.h); 0 without
// a word when a signal ended it. Sets
// the utilities debug flag, host_snmp_enabled and the trap destinations.
std::optional<int> check_gates();

// Sets the daemon's debug flags, closes all descriptors from 3 up, forgets
// stale stop requests, writes the host's IPv4 interface list to
// "/opt/ortdv/tmp/ipv4.txt", sets proxy_running and makes the socket directory.
// Reports no failure, but for a debug line when no shell could be started.
void prepare_host();

// Makes sure that "/opt/ortdv/sockets/agentx" exists. Where it is a dangling
// symbolic link, makes the directory it names, without the name's last
// character, as every release did (docs/oddities.md:
// socket-directory-loses-a-character).
void ensure_socket_directory();

// Closes every descriptor from 3 to getdtablesize() - 1.
void close_inherited_descriptors();

#endif  // TVUREV_DAEMON_STARTUP_H_
