// SPDX-License-Identifier: Apache-2.0
// An AgentX notification in a readable form, and the bytes it travels as: a
// Notify PDU of RFC 2741 in little-endian order. docs/protocol-agentx.md shows
// the bytes. Nothing here has effects.
#ifndef TVUREV_LAB_SIM_NOTIFICATION_H_
#define TVUREV_LAB_SIM_NOTIFICATION_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/sim/text.h"
#include "wire/agentx.h"

// One variable binding. value holds the bytes after the name exactly as they
// travel, so that also a type that does not exist can be sent.
struct SentBinding {
  OidNumbers name;
  uint16_t type = agentx::type::kNull;
  Bytes value;
};

// A notification. The two bindings that come first, sysUpTime.0 and
// snmpTrapOID.0, are made from uptime and trap_oid; one that is not given is
// left out.
struct SentNotification {
  std::optional<uint32_t> uptime;  // hundredths of a second
  OidNumbers trap_oid;             // empty: no snmpTrapOID.0
  std::vector<SentBinding> bindings;
  uint8_t pdu_type = agentx::kNotify;
  uint32_t session_id = 1;
  uint32_t transaction_id = 0;
  uint32_t packet_id = 0;
  std::optional<uint32_t> payload_length;  // a length to claim instead of the true one
};

// Values as they travel.
Bytes word_value(uint32_t number);
Bytes octets_value(std::span<const uint8_t> octets);  // length, octets, padding to 4
Bytes counter64_value(uint64_t number);
Bytes oid_value(std::span<const uint32_t> oid);  // the oid must be encodable

// Whether an object identifier can travel in the prefix form that the BMC
// always uses: 1.3.6.1, a fifth number of one byte, and up to 255 more numbers.
bool is_encodable(std::span<const uint32_t> oid);

Bytes build_notify(const SentNotification& notification);

// Reads a binding written as "OID=type:value". Types: integer, counter32,
// gauge32, timeticks (a number); octets, opaque (a text); hex, opaque-hex
// (bytes in hexadecimal); ipaddress; oid; counter64; null, noSuchObject,
// noSuchInstance, endOfMibView (no value); and "raw:CODE:HEX" for any type code
// with the bytes of its value. Without a value, *error says what is wrong.
std::optional<SentBinding> parse_binding(std::string_view text, std::string* error);

// Writes the PDU as the words of a scenario's "notify" line, as far as its
// bytes go; never reads beyond them.
std::string describe_notify(std::span<const uint8_t> pdu);

#endif  // TVUREV_LAB_SIM_NOTIFICATION_H_
