// SPDX-License-Identifier: Apache-2.0
// From the fields of a trap to the octets of its datagram. The one place where
// Net-SNMP is called, and of Net-SNMP only the functions that write a value in
// BER: they need no initialisation and no memory, open no descriptor and write
// nothing to standard error.
#ifndef TVUREV_SNMP_PP_V1_ENCODER_H_
#define TVUREV_SNMP_PP_V1_ENCODER_H_

#include <span>

#include "snmp_pp/octet.h"
#include "snmp_pp/trap_buffer.h"
#include "snmp_pp/v1_trap.h"
#include "snmp_pp/vb.h"

namespace Snmp_pp {

// Encodes the trap with these bindings into the buffer, in place of what it
// held. Returns SNMP_CLASS_SUCCESS, or SNMP_ERROR_TOO_BIG with an empty buffer
// when the Trap-PDU alone has more octets than a message may have.
int encode_trap_pdu(const V1Trap& trap, std::span<const Vb> bindings, TrapBuffer& buffer);

// Puts version and community before the buffer's Trap-PDU, which stays as it
// is. Returns the message, which lies in the buffer until the next call; an
// empty one when it would have more than kMaxMessageOctets.
std::span<const unsigned char> complete_message(const OctetStr& community, TrapBuffer& buffer);

}  // namespace Snmp_pp

#endif  // TVUREV_SNMP_PP_V1_ENCODER_H_
