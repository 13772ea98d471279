// SPDX-License-Identifier: Apache-2.0
// A UDP socket on loopback that receives what the session under test sends.
#ifndef TVUREV_TESTS_UNIT_SNMP_PP_TRAP_RECEIVER_H_
#define TVUREV_TESTS_UNIT_SNMP_PP_TRAP_RECEIVER_H_

#include <snmp_pp/snmp_pp.h>

#include <string>

#include "trap_bytes.h"

class TrapReceiver {
 public:
  TrapReceiver();
  TrapReceiver(const TrapReceiver&) = delete;
  TrapReceiver& operator=(const TrapReceiver&) = delete;
  ~TrapReceiver();

  // "127.0.0.1:PORT".
  const std::string& destination() const { return destination_; }

  // The next datagram. Loopback delivers within the send; a datagram that was
  // never sent fails the test after a generous time-out.
  Bytes receive() const;

  // Whether no datagram is left.
  bool empty() const;

 private:
  int socket_;
  std::string destination_;
};

// What a notification of the samples is made of: community "public", agent
// 10.0.0.5, timestamp 12345, notify id 1.3.6.1.4.1.99.0.7.
Snmp_pp::Pdu sample_pdu(const char* notify_id = "1.3.6.1.4.1.99.0.7");

// A target with that destination text.
Snmp_pp::CTarget target_of(const std::string& destination);

// Sends from a session of its own; returns the trap's result.
int send_trap(const Snmp_pp::Pdu& pdu, const Snmp_pp::SnmpTarget& target);

// The datagram of a notification, sent and received; empty after a failure.
Bytes datagram_of(const Snmp_pp::Pdu& pdu, const char* community = "public");

#endif  // TVUREV_TESTS_UNIT_SNMP_PP_TRAP_RECEIVER_H_
