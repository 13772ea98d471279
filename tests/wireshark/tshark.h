// SPDX-License-Identifier: Apache-2.0
// What tshark shows of packets: records them in a file of a test's own, runs it
// over that once, with the dissector of tools/wireshark, and takes its output
// apart.
#ifndef TVUREV_TESTS_WIRESHARK_TSHARK_H_
#define TVUREV_TESTS_WIRESHARK_TSHARK_H_

#include <iosfwd>
#include <string>
#include <vector>

#include "lab/capture/capture_file.h"
#include "tests/support/packets.h"

// A record's bytes: the record header and a packet.
Bytes to_bmc(uint32_t channel, const Bytes& packet);
Bytes from_bmc(uint32_t channel, const Bytes& packet);
Bytes from_agent(uint32_t process, const Bytes& received);

// Of each record, in their order: the line of the packet list, and "name=value" of
// every field that is there, in the order asked for, "chif." left out; several
// values of one field have a semicolon between them. Records are a millisecond
// apart.
struct Shown {
  std::string line;
  std::vector<std::string> fields;
  bool operator==(const Shown&) const = default;
};
void PrintTo(const Shown& shown, std::ostream* stream);  // for the tests' messages

struct Output {
  std::vector<Shown> records;
  std::string errors;  // what tshark complained about
  int status = -1;
};
Output show(LinkType type, const std::vector<Bytes>& records,
            const std::vector<std::string>& fields);

// An expert item's text, and the sign of an error in the dissector's own code.
inline constexpr const char* kExpert = "_ws.expert.message";
inline constexpr const char* kLuaError = "_ws.lua.error";

#endif  // TVUREV_TESTS_WIRESHARK_TSHARK_H_
