// SPDX-License-Identifier: Apache-2.0
// Is the host's own SNMP agent switched on, and to whom does it send traps? Both
// come from the agent's configuration, "/etc/vmware/snmp.xml", read line by
// line as plain text.
#ifndef TVUREV_TRAP_HOST_SNMP_H_
#define TVUREV_TRAP_HOST_SNMP_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Written by snmpEnabled() only, before the socket proxy is forked, so that both
// processes hold the same; read by the trap sender. Entry i of the communities
// belongs to destination i. A destination is kept as it is written before its
// "@", leading blanks included; its port is never kept.
extern std::vector<std::string> trap_destinations;
extern std::vector<std::string> trap_communities;
extern int32_t snmp_enabled_flag;
extern int32_t trap_target_count;  // targets seen in this reading, the dropped ones too

// The longest pieces of the configuration; longer ones end the process.
inline constexpr size_t kTargetsTextMax = 2047;
inline constexpr size_t kDestinationMax = 32;
inline constexpr size_t kCommunityMax = 128;
inline constexpr int32_t kDestinationsMax = 3;

// Reads the configuration. Returns 1, and loads the first destinations, when
// a line holds "<enable>true"; 0 when none does or the file cannot be read, from
// its start to its end. snmp_enabled_flag gets the same value. A second call
// appends to the lists. Logs at priority 3 when the agent is enabled but no
// receiver is one that traps may ever reach.
//
// Ends the process (abort, after a log line at priority 3) on a targets text of
// 2,048 characters or more, a destination of more than 32 or a community of
// more than 128: a cut receiver would silently lose every trap. An entry
// without a blank after its "@" has no community and ends its line.
int snmpEnabled();

#endif  // TVUREV_TRAP_HOST_SNMP_H_
