// SPDX-License-Identifier: Apache-2.0
// The SNMP classes, in name space Snmp_pp whatever stands behind them.
#ifndef TVUREV_TRAP_SNMP_CLASSES_H_
#define TVUREV_TRAP_SNMP_CLASSES_H_

#include <snmp_pp/snmp_pp.h>

// An installed SNMP++ may have been built without a name space.
#ifdef TVUREV_SNMP_CLASSES_ARE_GLOBAL
namespace Snmp_pp {
using ::CTarget;
using ::GenAddress;
using ::IpAddress;
using ::OctetStr;
using ::Oid;
using ::Pdu;
using ::Snmp;
using ::SnmpInt32;
using ::SnmpSyntax;
using ::TimeTicks;
using ::Vb;
using ::version1;
}  // namespace Snmp_pp
#endif

#endif  // TVUREV_TRAP_SNMP_CLASSES_H_
