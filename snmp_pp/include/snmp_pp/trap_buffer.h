// SPDX-License-Identifier: Apache-2.0
// Where a Pdu is encoded, and stays encoded for the next receiver. Not part of
// SNMP++.
#ifndef SNMP_PP_TRAP_BUFFER_H_
#define SNMP_PP_TRAP_BUFFER_H_

#include <array>
#include <cstddef>

#include "snmp_pp/config_snmp_pp.h"

namespace Snmp_pp {

// A message, written from the end of its buffer towards the front: last the
// Trap-PDU, which is the same for every receiver, before it what only one of
// them gets. A copy holds nothing, and what a copy is made of stays what it was.
struct TrapBuffer {
  // Leaves the octets as they are: none is read before it is written.
  TrapBuffer() {}  // NOLINT(modernize-use-equals-default,*-member-init)
  TrapBuffer(const TrapBuffer&) : TrapBuffer() {}
  TrapBuffer& operator=(const TrapBuffer&) {
    pdu_size = 0;
    return *this;
  }
  ~TrapBuffer() = default;

  std::array<unsigned char, kMaxMessageOctets> octets;
  size_t pdu_size = 0;  // the Trap-PDU is the last pdu_size octets; 0: there is none
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_TRAP_BUFFER_H_
