// SPDX-License-Identifier: Apache-2.0
// The real snmptrapd as a trap receiver: what it prints is somebody else's
// reading of our traps.
#ifndef TVUREV_LAB_SUPERVISOR_TRAP_DAEMON_H_
#define TVUREV_LAB_SUPERVISOR_TRAP_DAEMON_H_

#include <string>
#include <string_view>
#include <vector>

#include "lab/supervisor/child.h"

// How to run it at UDP port 162 of these addresses, IPv4 or IPv6; of every IPv4
// address when there are none. Traps are printed as its own options say, by
// default in two lines each, object identifiers in numbers.
Program trap_daemon(const std::vector<std::string>& addresses,
                    const std::vector<std::string>& options = {});

// Whether it is ready: the kernel has a socket at each of these ports. From
// then on no trap is lost, whether the daemon reads already or not, which its
// first line of output says nothing about.
bool trap_ports_are_open(const std::vector<std::string>& addresses);

// Whether no datagram waits unread at a port 162.
bool trap_ports_are_empty();

// The same from the text of "/proc/net/udp" or "/proc/net/udp6".
bool trap_port_is_open(std::string_view socket_table, const std::string& address);
bool trap_ports_are_empty(std::string_view socket_table);

#endif  // TVUREV_LAB_SUPERVISOR_TRAP_DAEMON_H_
