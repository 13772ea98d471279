// SPDX-License-Identifier: Apache-2.0
// Which class interface this is, and its fixed limits.
#ifndef SNMP_PP_CONFIG_SNMP_PP_H_
#define SNMP_PP_CONFIG_SNMP_PP_H_

// The release of the SNMP++ interface that these classes follow, as numbers.
#define SNMP_PP_VERSION 3
#define SNMP_PP_RELEASE 4
#define SNMP_PP_PATCHLEVEL 0

// Defined here and in no SNMP++ release: the engine behind the classes is
// Net-SNMP.
#define SNMP_PP_OVER_NET_SNMP 1

namespace Snmp_pp {

// The most variable bindings a Pdu takes; further ones are dropped silently.
inline constexpr int kMaxBindings = 25;

// The most arcs of an OID that are encoded; the rest is cut off.
inline constexpr unsigned kMaxEncodedArcs = 128;

// The largest message that is sent, in octets.
inline constexpr unsigned kMaxMessageOctets = 4096;

// How many arcs and octets need no heap: 32 arcs are more than names in use have
// (relaying costs the same instructions with 16, 32 or 128), and as many octets
// take the same place.
inline constexpr unsigned kShortOid = 32;
inline constexpr unsigned kShortString = 4 * kShortOid;

// The port of a destination that names none: that of trap receivers.
inline constexpr unsigned short kDefaultTrapPort = 162;

}  // namespace Snmp_pp

#endif  // SNMP_PP_CONFIG_SNMP_PP_H_
