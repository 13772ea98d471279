// SPDX-License-Identifier: Apache-2.0
// The address behind the text of a trap receiver. Numeric texts are taken as they
// are. A host name is looked up when it is needed: what is found is kept for five
// minutes, that nothing was found for one minute, so that a receiver whose name
// does not resolve holds the others up for one second a minute at most.
#ifndef TVUREV_TRAP_RECEIVER_ADDRESS_H_
#define TVUREV_TRAP_RECEIVER_ADDRESS_H_

#include <array>

#include "trap/snmp_classes.h"

// The address of the receiver, invalid when there is none. A numeric text costs
// no system call and no memory; a name blocks for a second at most
// (trap/name_lookup.h), and neither while its result is kept.
//
// Logs at priority 3 when a name does not resolve, once until it does, and at 6
// when it resolves again. When nobody can say what a name means any more, its last
// address stays in use; when there is no such name any more, it goes.
Snmp_pp::GenAddress receiver_address(const char* destination);

using ReceiverFault = std::array<char, 128>;

// Why receiver_address() gave an invalid address: syntax, IPv6, or the name.
// Looks nothing up.
ReceiverFault receiver_fault(const char* destination);

// Whether traps may ever reach the receiver: a numeric IPv4 address, or any name.
// Looks nothing up.
bool is_usable_receiver(const char* destination);

#endif  // TVUREV_TRAP_RECEIVER_ADDRESS_H_
