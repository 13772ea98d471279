// SPDX-License-Identifier: Apache-2.0
// The notifications that SNMP itself defines, as OID texts.
#ifndef SNMP_PP_OID_DEF_H_
#define SNMP_PP_OID_DEF_H_

#include "snmp_pp/oid.h"

namespace Snmp_pp {

// snmpTraps: its children 1 to 6 are the standard notifications from coldStart
// to egpNeighborLoss, generic-trap 0 to 5.
inline constexpr const char* kSnmpTrapsOid = "1.3.6.1.6.3.1.1.5";

// snmpTrapEnterprise.0: the binding that names the enterprise of a standard
// notification.
inline constexpr const char* kSnmpTrapEnterpriseOid = "1.3.6.1.6.3.1.1.4.3.0";

}  // namespace Snmp_pp

#endif  // SNMP_PP_OID_DEF_H_
