// SPDX-License-Identifier: Apache-2.0
// The numbered notifications of a life, and the trap that each must become,
// worked out from docs/protocol-agentx.md and not by the daemon's code. The same
// seed and number give the same bytes.
#ifndef TVUREV_TESTS_SOAK_NOTIFICATIONS_H_
#define TVUREV_TESTS_SOAK_NOTIFICATIONS_H_

#include <cstdint>
#include <string>

#include "tests/support/packets.h"

struct Notification {
  Bytes pdu;
  // As trap_text() (lab/supervisor/trap_reader.h) writes it, without the
  // community and the blank after it. The time stamp is the number.
  std::string trap;
};

// Any of the good ones: up to 4080 bytes, every type, up to 30 bindings. No
// longer than most bytes, which must not be below 256.
Notification good_notification(uint64_t seed, uint32_t number, size_t most = 4080);

// The one by which the BMC announces its reset. It is relayed like any other.
Notification reset_notification(uint32_t number);

// A Notify PDU of which no trap can be made: without a trap OID, behind a
// context, or of bytes that are no bindings.
Bytes hopeless_notification(uint64_t seed, uint32_t number);

// The PDU in one of the packets by which a BMC may send it.
Bytes notification_packet(const Bytes& pdu, uint64_t seed, uint32_t number);

// A packet on the channel that is dropped without a trap: short, of lengths that
// are not true, of other PDU types, with an error status.
Bytes dropped_packet(uint64_t seed, uint32_t number);

#endif  // TVUREV_TESTS_SOAK_NOTIFICATIONS_H_
