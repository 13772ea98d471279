// SPDX-License-Identifier: Apache-2.0
// The session that sends traps.
//
// One object is one UDP socket: opened by the constructor, closed by the
// destructor. A trap is one datagram; the whole life of a session that sends one
// trap costs socket, sendto and close, and no other call when the addresses are
// numeric. Nothing is received or retried, no file is read or
// written, nothing goes to standard output or standard error.
#ifndef SNMP_PP_UXSNMP_H_
#define SNMP_PP_UXSNMP_H_

#include "snmp_pp/pdu.h"
#include "snmp_pp/snmperrs.h"
#include "snmp_pp/target.h"

namespace Snmp_pp {

class Snmp {
 public:
  // Opens an IPv4 UDP socket, close-on-exec, and binds it to any address and
  // the local port; with port 0 the first trap takes any free one. Sets status to
  // SNMP_CLASS_SUCCESS or
  //   SNMP_CLASS_RESOURCE_UNAVAIL  no descriptor or buffer space is free
  //   SNMP_CLASS_TL_IN_USE         the local port is in use
  //   SNMP_CLASS_TL_ACCESS_DENIED  the local port is not permitted
  //   SNMP_CLASS_TL_UNSUPPORTED    the host has no IPv4 or UDP
  //   SNMP_CLASS_TL_FAILED         the host or its network is down
  //   SNMP_CLASS_INTERNAL_ERROR    any other failure to bind
  // and leaves errno of a failed call as it was. A session that failed holds no
  // descriptor, and sends nothing.
  explicit Snmp(int& status, unsigned short port = 0);
  Snmp(const Snmp&) = delete;
  Snmp& operator=(const Snmp&) = delete;
  ~Snmp();

  // Sends the notification as one SNMPv1 trap, to port 162 unless the target's
  // address names a port.
  //
  // The notify ids 1.3.6.1.6.3.1.1.5.1 to .6 are generic-trap 0 to 5; their
  // enterprise is the Pdu's, else the value of the snmpTrapEnterprise.0
  // binding, else snmpTraps. Any other notify id is generic-trap 6: the last
  // arc is the specific-trap, the arcs before it, less one zero at their end,
  // are the enterprise.
  //
  // Checks in this order and returns the first that applies:
  //   SNMP_CLASS_INVALID_PDU
  //   SNMP_CLASS_INVALID_TARGET    the target has no valid address
  //   SNMP_CLASS_TL_UNSUPPORTED    the address is neither IP nor UDP
  //   SNMP_CLASS_INVALID_NOTIFYID  the notify id has fewer than two arcs
  //   SNMP_ERROR_TOO_BIG           the message would exceed 4096 octets
  //   SNMP_CLASS_TL_FAILED         the send failed, with errno of the send
  //   SNMP_CLASS_SUCCESS
  // Takes no memory. The bindings are encoded once: the Pdu keeps its encoded form
  // for the next receiver until it is changed.
  int trap(Pdu& pdu, SnmpTarget& target);

  // One line of text for a result of the constructor or of trap, for every
  // number. The text is static.
  static const char* error_msg(int status);

 private:
  int socket_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_UXSNMP_H_
