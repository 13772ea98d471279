// SPDX-License-Identifier: Apache-2.0
// The results of Snmp's constructor and of Snmp::trap. Snmp::error_msg turns
// each into a text.
#ifndef SNMP_PP_SNMPERRS_H_
#define SNMP_PP_SNMPERRS_H_

namespace Snmp_pp {

enum SnmpStatus : int {
  SNMP_ERROR_TOO_BIG = 1,  // the message would exceed 4096 octets
  SNMP_CLASS_SUCCESS = 0,
  SNMP_CLASS_ERROR = -1,             // the engine could not encode the message
  SNMP_CLASS_RESOURCE_UNAVAIL = -2,  // no descriptor or no memory
  SNMP_CLASS_INTERNAL_ERROR = -3,
  SNMP_CLASS_UNSUPPORTED = -4,
  SNMP_CLASS_INVALID = -10,
  SNMP_CLASS_INVALID_PDU = -11,
  SNMP_CLASS_INVALID_TARGET = -12,    // no valid destination address
  SNMP_CLASS_INVALID_NOTIFYID = -15,  // the notify id has fewer than two arcs
  SNMP_CLASS_INVALID_OID = -17,
  SNMP_CLASS_INVALID_ADDRESS = -18,
  SNMP_CLASS_TL_UNSUPPORTED = -20,    // no such transport
  SNMP_CLASS_TL_IN_USE = -21,         // the local port is taken
  SNMP_CLASS_TL_FAILED = -22,         // the send failed
  SNMP_CLASS_TL_ACCESS_DENIED = -23,  // the local port is not permitted
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_SNMPERRS_H_
