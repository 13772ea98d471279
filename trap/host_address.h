// SPDX-License-Identifier: Apache-2.0
// The host's management IPv4 address: that of interface vmk0, as the host's
// command line tool reports it. It becomes the agent address of every trap.
#ifndef TVUREV_TRAP_HOST_ADDRESS_H_
#define TVUREV_TRAP_HOST_ADDRESS_H_

#include <array>

// The address as dotted text, empty when none was found. Written by
// get_host_ipaddress() only, once in each daemon process; read by the trap
// sender.
extern std::array<char, 32> host_ipaddress;

// Clears host_ipaddress, runs "localcli network ip interface ipv4 get" and keeps
// the second word, at most 31 characters, of the first line whose first word
// holds "vmk0". Skips two title lines. A line that is short of words keeps the
// words of the line before. Reports no failure; logs (debug) an address found.
void get_host_ipaddress();

#endif  // TVUREV_TRAP_HOST_ADDRESS_H_
