// SPDX-License-Identifier: Apache-2.0
// The number types of SNMP and the tags of its values on the wire.
#ifndef SNMP_PP_SMI_H_
#define SNMP_PP_SMI_H_

#include <cstdint>

namespace Snmp_pp {

using SmiUINT32 = uint32_t;
using SmiINT32 = int32_t;

// What SnmpSyntax::get_syntax() returns: the BER tag with which the value is
// encoded.
enum SmiSyntax : SmiUINT32 {
  sNMP_SYNTAX_INT32 = 0x02,
  sNMP_SYNTAX_OCTETS = 0x04,
  sNMP_SYNTAX_NULL = 0x05,
  sNMP_SYNTAX_OID = 0x06,
  sNMP_SYNTAX_IPADDR = 0x40,
  sNMP_SYNTAX_CNTR32 = 0x41,
  sNMP_SYNTAX_GAUGE32 = 0x42,
  sNMP_SYNTAX_TIMETICKS = 0x43,
  sNMP_SYNTAX_OPAQUE = 0x44,
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_SMI_H_
