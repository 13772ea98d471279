// SPDX-License-Identifier: Apache-2.0
// A small AgentX master that real subagents can talk to, so that the bytes of
// their notifications can be had. It answers every request with success.
#ifndef TVUREV_TESTS_E2E_AGENTX_MASTER_H_
#define TVUREV_TESTS_E2E_AGENTX_MASTER_H_

#include <string>
#include <vector>

#include "tests/support/packets.h"

// What came of one run of agentxtrap.
struct Capture {
  std::vector<Bytes> pdus;  // all that it sent: Open, Notify, Close
  Bytes notify;             // the one Notify PDU
  std::string error;        // empty, or what went wrong
};

// Runs the real agentxtrap(1) with these arguments ("-U", "100", OID ...).
Capture capture_agentxtrap(const std::vector<std::string>& arguments);

#endif  // TVUREV_TESTS_E2E_AGENTX_MASTER_H_
