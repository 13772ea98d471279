// A received SNMPv1 trap in a readable form, read by a BER decoder of the
// tests' own, so that they share no mistake with the code that encodes.
#ifndef TVUREV_TESTS_E2E_TRAP_TEXT_H_
#define TVUREV_TESTS_E2E_TRAP_TEXT_H_

#include <cstdint>
#include <span>
#include <string>

// The fields in their order on the wire, then the bindings:
//
//   public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @100 1.3.6.1.4.1.32473.1.1.1.0="fan 3"
//
// that is community, enterprise, agent address, generic/specific trap, time
// stamp. Values: -5, "text" (bytes that are no printable ASCII as \xHH), an
// OID, ip:10.0.0.5, ticks:0; any other tag is tag-HH:HEX. A datagram that is
// no such trap gives "not a trap: " and its bytes.
std::string trap_text(std::span<const uint8_t> datagram);

#endif  // TVUREV_TESTS_E2E_TRAP_TEXT_H_
