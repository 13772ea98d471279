// SPDX-License-Identifier: Apache-2.0
// Reads a received SNMPv1 trap with a BER decoder of its own, which shares no
// mistake with the code that encodes.
#ifndef TVUREV_LAB_SUPERVISOR_TRAP_READER_H_
#define TVUREV_LAB_SUPERVISOR_TRAP_READER_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

// The fields as text, in their order on the wire. Contents of values are those
// of the datagram.
struct TrapMessage {
  std::string community;
  std::string enterprise;  // "1.3.6.1.4.1.32473.1"
  std::string agent;       // "192.0.2.20"
  std::string generic;
  std::string specific;
  std::string time_stamp;
  struct Binding {
    std::string name;
    uint8_t tag = 0;
    std::span<const uint8_t> contents;
  };
  std::vector<Binding> bindings;
};

// Nothing for a datagram that is no such trap, from its first byte to its last.
std::optional<TrapMessage> read_trap_message(std::span<const uint8_t> datagram);

// A binding's value: -5, "text" (in quotes, with escapes), an OID, ip:10.0.0.5,
// ticks:0; any other tag is tag-HH:HEX.
std::string value_text(const TrapMessage::Binding& binding);

// The trap as one line:
//
//   public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @100 1.3.6.1.4.1.32473.1.1.1.0="fan 3"
//
// that is community, enterprise, agent address, generic/specific trap, time
// stamp, bindings. Any other datagram gives "not a trap: " and its bytes.
std::string trap_text(std::span<const uint8_t> datagram);

#endif  // TVUREV_LAB_SUPERVISOR_TRAP_READER_H_
