// SPDX-License-Identifier: Apache-2.0
// Expected datagrams: a BER writer of the tests' own, and hexadecimal text.
#ifndef TVUREV_TESTS_UNIT_SNMP_PP_TRAP_BYTES_H_
#define TVUREV_TESTS_UNIT_SNMP_PP_TRAP_BYTES_H_

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<unsigned char>;

// "30 0c 06" or "300c06" as octets, and back (without blanks).
Bytes from_hex(std::string_view text);
std::string to_hex(const Bytes& bytes);

Bytes operator+(Bytes left, const Bytes& right);

// Tag, length in the shortest form (up to 65535), contents.
Bytes tlv(unsigned char tag, const Bytes& contents);

// The contents of a text.
Bytes octets_of(std::string_view text);

// A Trap-PDU message. Enterprise, generic, specific and timestamp are whole
// TLVs; bindings are the contents of the varbind list.
struct ExpectedTrap {
  Bytes community = octets_of("public");
  Bytes enterprise = from_hex("06062b0601040163");
  Bytes agent = from_hex("40040a000005");
  Bytes generic = from_hex("020106");
  Bytes specific = from_hex("020107");
  Bytes timestamp = from_hex("43023039");
  Bytes bindings = {};
};
Bytes message_of(const ExpectedTrap& trap);

#endif  // TVUREV_TESTS_UNIT_SNMP_PP_TRAP_BYTES_H_
