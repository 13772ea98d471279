// SPDX-License-Identifier: Apache-2.0
// Builders of the packets that come from outside: CHIF packets of the BMC and
// AgentX notifications. They write the bytes themselves, so that the tests do
// not share a mistake with the code under test; every length can be made wrong.
#ifndef TVUREV_TESTS_SUPPORT_PACKETS_H_
#define TVUREV_TESTS_SUPPORT_PACKETS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;

// "08 00 adde" as bytes; blanks and line ends may stand anywhere.
Bytes bytes_of(std::string_view hex);
// The other way: two digits a byte, blanks between.
std::string hex_of(std::span<const uint8_t> bytes);
// The characters of a text, without a terminator.
Bytes text_bytes(std::string_view text);

// A CHIF packet. Starts as the 8-byte header; every setter makes it as long as
// it needs, and pktsize is the final length unless it is set.
class ChifBuilder {
 public:
  explicit ChifBuilder(uint16_t cmdno = 0) { u16_at(4, cmdno); }

  ChifBuilder& pktsize(uint16_t value);
  ChifBuilder& seqno(uint16_t value) { return u16_at(2, value); }
  ChifBuilder& svc(uint16_t value) { return u16_at(6, value); }
  ChifBuilder& errcode(uint32_t value) { return u32_at(8, value); }
  ChifBuilder& agentx_resp_len(uint32_t value) { return u32_at(12, value); }
  // Sets agentx_resp_len too.
  ChifBuilder& agentx(std::span<const uint8_t> pdu);
  // From offset 16, without a terminator.
  ChifBuilder& text(std::string_view text) { return bytes_at(16, text_bytes(text)); }

  ChifBuilder& u8_at(size_t offset, uint8_t value);
  ChifBuilder& u16_at(size_t offset, uint16_t value);
  ChifBuilder& u32_at(size_t offset, uint32_t value);
  ChifBuilder& bytes_at(size_t offset, std::span<const uint8_t> bytes);
  // Zeros up to size, or everything from there on cut off.
  ChifBuilder& sized(size_t size);

  Bytes bytes() const;

 private:
  Bytes packet_ = Bytes(8, 0);
  std::optional<uint16_t> pktsize_;
};

// An AgentX notification. Object identifiers are dotted text that begins with
// 1.3.6.1 and one more number, the prefix.
class NotifyBuilder {
 public:
  NotifyBuilder& uptime(uint32_t ticks) { return timeticks("1.3.6.1.2.1.1.3.0", ticks); }
  NotifyBuilder& trap_oid(std::string_view oid) { return object_id("1.3.6.1.6.3.1.1.4.1.0", oid); }
  NotifyBuilder& community(std::string_view text) { return octets("1.3.6.1.6.3.18.1.4.0", text); }

  NotifyBuilder& integer(std::string_view oid, int32_t value);
  NotifyBuilder& counter32(std::string_view oid, uint32_t value) { return word(65, oid, value); }
  NotifyBuilder& gauge32(std::string_view oid, uint32_t value) { return word(66, oid, value); }
  NotifyBuilder& timeticks(std::string_view oid, uint32_t value) { return word(67, oid, value); }
  NotifyBuilder& counter64(std::string_view oid, uint64_t value);
  NotifyBuilder& octets(std::string_view oid, std::string_view text) {
    return string(4, oid, text_bytes(text));
  }
  NotifyBuilder& ip_address(std::string_view oid, std::span<const uint8_t> address) {
    return string(64, oid, address);
  }
  NotifyBuilder& opaque(std::string_view oid, std::span<const uint8_t> bytes) {
    return string(68, oid, bytes);
  }
  NotifyBuilder& object_id(std::string_view oid, std::string_view value);
  NotifyBuilder& null(std::string_view oid) { return nothing(5, oid); }

  // A type with a 32-bit word, with counted and padded bytes, with no value.
  NotifyBuilder& word(uint16_t type, std::string_view oid, uint32_t value);
  NotifyBuilder& string(uint16_t type, std::string_view oid, std::span<const uint8_t> bytes);
  NotifyBuilder& nothing(uint16_t type, std::string_view oid);

  // A string that claims another length than it has.
  NotifyBuilder& string_claiming(uint16_t type, std::string_view oid, uint32_t length,
                                 std::span<const uint8_t> bytes);
  // The start of a binding: type and a name of any form.
  NotifyBuilder& name(uint16_t type, uint8_t prefix, std::span<const uint32_t> sub_ids);
  // The same with an n_subid that need not be true.
  NotifyBuilder& name_claiming(uint16_t type, uint8_t n_subid, uint8_t prefix,
                               std::span<const uint32_t> sub_ids);
  NotifyBuilder& raw(std::span<const uint8_t> bytes);
  NotifyBuilder& raw_u32(uint32_t value);

  NotifyBuilder& pdu_type(uint8_t value);
  NotifyBuilder& flags(uint8_t value);
  // Another length than that of the bindings.
  NotifyBuilder& payload_length(uint32_t value);

  Bytes bytes() const;

 private:
  NotifyBuilder& named(uint16_t type, std::string_view oid);

  uint8_t type_ = 12;
  uint8_t flags_ = 0;
  std::optional<uint32_t> payload_length_;
  Bytes bindings_;
};

// A usual notification, for what is measured: a failed fan in 416 bytes, with 8
// bindings of which 6 travel in the trap (a number, three texts, an object
// identifier and an address).
Bytes fan_notification();

#endif  // TVUREV_TESTS_SUPPORT_PACKETS_H_
