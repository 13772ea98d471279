// From the fields of a trap to the octets of its datagram. The one place where
// Net-SNMP is called; of Net-SNMP only the encoder is used, so that no
// configuration or MIB file is read and no descriptor opened.
#ifndef TVUREV_SNMP_PP_V1_ENCODER_H_
#define TVUREV_SNMP_PP_V1_ENCODER_H_

#include <vector>

#include "snmp_pp/octet.h"
#include "snmp_pp/pdu.h"
#include "snmp_pp/v1_trap.h"

namespace Snmp_pp {

// Encodes the trap with the bindings of the Pdu into message, in place of what
// it held. Returns SNMP_CLASS_SUCCESS, or with an empty message
// SNMP_ERROR_TOO_BIG (over 4096 octets), SNMP_CLASS_RESOURCE_UNAVAIL (no
// memory) or SNMP_CLASS_ERROR (refused by the engine).
int encode_v1_trap(const V1Trap& trap, const OctetStr& community, const Pdu& pdu,
                   std::vector<unsigned char>& message);

}  // namespace Snmp_pp

#endif  // TVUREV_SNMP_PP_V1_ENCODER_H_
