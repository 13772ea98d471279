// SPDX-License-Identifier: Apache-2.0
// A decoded notification's bindings as text.
#ifndef TVUREV_TESTS_UNIT_TRAP_NOTIFICATION_TEXT_H_
#define TVUREV_TESTS_UNIT_TRAP_NOTIFICATION_TEXT_H_

#include <string>

#include "tests/support/call_script.h"
#include "trap/agentx.h"

// "OID INTEGER 7", "OID OCTETS text" and so on.
inline std::string binding_text(const Snmp_pp::Vb& vb) {
  const std::string name = vb.get_printable_oid();
  switch (vb.get_syntax()) {
    case Snmp_pp::sNMP_SYNTAX_INT32: {
      Snmp_pp::SnmpInt32 number;
      vb.get_value(number);
      return name + " INTEGER " + std::to_string(static_cast<long>(number));
    }
    case Snmp_pp::sNMP_SYNTAX_TIMETICKS: {
      Snmp_pp::TimeTicks ticks;
      vb.get_value(ticks);
      return name + " TIMETICKS " + std::to_string(static_cast<unsigned long>(ticks));
    }
    case Snmp_pp::sNMP_SYNTAX_OCTETS: {
      Snmp_pp::OctetStr octets;
      vb.get_value(octets);
      return name + " OCTETS " +
             std::string(reinterpret_cast<const char*>(octets.data()), octets.len());
    }
    case Snmp_pp::sNMP_SYNTAX_OID:
      return name + " OID " + vb.get_printable_value();
    case Snmp_pp::sNMP_SYNTAX_IPADDR:
      return name + " IPADDRESS " + vb.get_printable_value();
    default:
      return name + " syntax " + std::to_string(vb.get_syntax());
  }
}

inline Lines bindings_text(const Notification& notification) {
  Lines lines;
  for (const Snmp_pp::Vb& vb : notification.vbs) {
    lines.push_back(binding_text(vb));
  }
  return lines;
}

#endif  // TVUREV_TESTS_UNIT_TRAP_NOTIFICATION_TEXT_H_
