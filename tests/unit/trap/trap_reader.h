// SPDX-License-Identifier: Apache-2.0
// Reads an SNMPv1 trap message back into text, independently of the engine that
// encoded it.
#ifndef TVUREV_TESTS_UNIT_TRAP_TRAP_READER_H_
#define TVUREV_TESTS_UNIT_TRAP_TRAP_READER_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct ReadTrap {
  // "community enterprise agent-addr generic specific time-stamp".
  std::string header;
  // "OID 02:7", "OID 04:text": the tag in hexadecimal, then the value.
  std::vector<std::string> bindings;
};

// What is wrong with a message that cannot be read stands in the header.
ReadTrap read_trap(std::span<const uint8_t> message);

#endif  // TVUREV_TESTS_UNIT_TRAP_TRAP_READER_H_
