// SPDX-License-Identifier: Apache-2.0
// The CHIF packets of the simulated BMC: building what it says, and telling
// what it hears. docs/protocol-chif.md shows the bytes. Nothing here has
// effects.
#ifndef TVUREV_LAB_SIM_PACKETS_H_
#define TVUREV_LAB_SIM_PACKETS_H_

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/sim/text.h"
#include "wire/chif.h"
#include "wire/kcs.h"

// What a packet from the host is.
enum class PacketKind {
  kHello,
  kConnect,
  kBye,
  kStatusQuery,
  kNvramGet,
  kNvramSet,
  kOtherKcs,
  kIpv4Query,
  kIpv6Query,
  kLogAck,
  kShutdownAck,
  kUnknown,
};
PacketKind classify(std::span<const uint8_t> packet);

// Whether the BMC answers it.
bool is_answered(PacketKind kind);

// The word that scenarios use for a kind: "hello", "connect", "bye", "status",
// "nvram-get", "nvram-set", "kcs", "ipv4", "ipv6", "ack-log", "ack-shutdown",
// "unknown".
std::string_view kind_name(PacketKind kind);
std::optional<PacketKind> kind_from_name(std::string_view name);

// One line that says what a packet holds, for people.
std::string describe_to_bmc(std::span<const uint8_t> packet);
std::string describe_from_bmc(std::span<const uint8_t> packet);

// A field of a packet, by the name that scenarios use.
struct Field {
  std::string_view name;
  size_t offset;
  size_t size;  // 1, 2 or 4
  bool of_answer = false;

  constexpr uint64_t most() const { return (uint64_t{1} << (8 * size)) - 1; }
};
inline constexpr std::array<Field, 11> kFields = {{
    {"pktsize", chif::header::kPktsize, 2},
    {"seqno", chif::header::kSeqno, 2},
    {"cmdno", chif::header::kCmdno, 2},
    {"svc", chif::header::kSvc, 2},
    {"errcode", chif::notification::kErrcode, 4},
    {"resplen", chif::notification::kAgentxRespLen, 4},
    {"idx", chif::session_reply::kIdx, 2},
    {"more", chif::session_reply::kMore, 2},
    {"completion", kcs::response::kCompletionCode, 1, true},
    {"status", kcs::response::kData + nvram::response::kStatus, 1, true},
    {"length", kcs::response::kData + nvram::response::kLength, 2, true},
}};

// Fields of a finished packet to replace, so that any of them can be wrong.
// size cuts the packet or fills it up with zeros; pktsize follows it unless it
// is given itself.
struct FieldChanges {
  std::optional<size_t> size;  // at most chif::kPacketMax
  std::map<std::string_view, uint32_t> values = {};
};
void change_fields(Bytes* packet, const FieldChanges& changes);

// Packets that the BMC sends by itself; seqno is 0 until it is changed.
Bytes notification_packet(std::span<const uint8_t> pdu);
Bytes log_packet(std::string_view text);
Bytes shutdown_packet(uint32_t action, int32_t delay_seconds, std::string_view reason);
Bytes status_packet(uint16_t command, uint32_t error);
Bytes hello_response_packet(uint16_t command);

// What the BMC tells about itself.
struct Ipv6Entry {
  std::array<uint8_t, 16> address = {};
  uint8_t state = 0;
};
struct BmcIdentity {
  int8_t generation = 6;
  uint8_t firmware_major = 2;
  uint8_t firmware_minor = 10;
  uint32_t firmware_date = 0x8D2E0000;  // packed; 2025-04-23
  std::array<uint8_t, 4> ipv4 = {192, 0, 2, 200};
  uint32_t ipv6_options = 3;  // bit 0 IPv6 enabled, bit 1 IPv4 enabled
  std::vector<Ipv6Entry> ipv6_entries = {
      {{0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0x11, 0x22, 0x33, 0xFF, 0xFE, 0x44, 0x55, 0x66}, 0}};
};
// Year from 1990 to 2053.
uint32_t pack_date(uint32_t year, uint32_t month, uint32_t day);

// Variables by name.
using Variables = std::map<std::string, Bytes, std::less<>>;

// Answers to requests; each carries its request's seqno.
Bytes session_reply(std::span<const uint8_t> request, size_t size);
Bytes status_reply(std::span<const uint8_t> request, const BmcIdentity& identity);
Bytes ipv4_reply(std::span<const uint8_t> request, const BmcIdentity& identity);
Bytes ipv6_reply(std::span<const uint8_t> request, const BmcIdentity& identity);
Bytes kcs_reply(std::span<const uint8_t> request, uint8_t completion_code,
                std::span<const uint8_t> data);
Bytes nvram_get_reply(std::span<const uint8_t> request, const Variables& variables);
Bytes nvram_set_reply(std::span<const uint8_t> request);

// The variable that an NVRAM request names, and the value that it sets. A name
// without its zero byte ends with the packet.
std::string nvram_name(std::span<const uint8_t> request);
Bytes nvram_value(std::span<const uint8_t> request);

#endif  // TVUREV_LAB_SIM_PACKETS_H_
