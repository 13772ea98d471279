// SPDX-License-Identifier: Apache-2.0
#include "tests/support/packets.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>

namespace {

// A wrong text in a test is a mistake in the test.
[[noreturn]] void give_up(std::string_view what, std::string_view text) {
  fprintf(stderr, "%.*s: \"%.*s\"\n", static_cast<int>(what.size()), what.data(),
          static_cast<int>(text.size()), text.data());
  abort();
}

void append(Bytes& bytes, uint64_t value, int size) {
  for (int i = 0; i < size; ++i) {
    bytes.push_back(static_cast<uint8_t>(value >> (8 * i) & 0xFF));
  }
}

void append(Bytes& bytes, std::span<const uint8_t> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

struct ObjectId {
  uint8_t prefix;
  std::vector<uint32_t> sub_ids;
};

ObjectId object_id_of(std::string_view text) {
  std::vector<uint32_t> numbers;
  const char* end = text.data() + text.size();
  for (const char* at = text.data(); at < end;) {
    uint32_t number = 0;
    const auto [next, error] = std::from_chars(at, end, number);
    if (error != std::errc() || (next != end && *next != '.')) {
      give_up("not an object identifier", text);
    }
    numbers.push_back(number);
    at = next == end ? end : next + 1;
  }
  constexpr std::array<uint32_t, 4> kInternet = {1, 3, 6, 1};
  if (numbers.size() < 5 || !std::equal(kInternet.begin(), kInternet.end(), numbers.begin()) ||
      numbers[4] > 255) {
    give_up("not of the form 1.3.6.1.prefix", text);
  }
  return {static_cast<uint8_t>(numbers[4]), {numbers.begin() + 5, numbers.end()}};
}

void append_object_id(Bytes& bytes, uint8_t n_subid, uint8_t prefix,
                      std::span<const uint32_t> sub_ids) {
  append(bytes, n_subid, 1);
  append(bytes, prefix, 1);
  append(bytes, 0, 2);  // include, reserved
  for (const uint32_t sub_id : sub_ids) {
    append(bytes, sub_id, 4);
  }
}

int hex_digit(char digit) {
  if (digit >= '0' && digit <= '9') {
    return digit - '0';
  }
  const char lower = static_cast<char>(digit | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

Bytes bytes_of(std::string_view hex) {
  Bytes bytes;
  int high = -1;
  for (const char character : hex) {
    if (character == ' ' || character == '\n') {
      continue;
    }
    const int digit = hex_digit(character);
    if (digit < 0) {
      give_up("not hexadecimal", hex);
    }
    if (high >= 0) {
      bytes.push_back(static_cast<uint8_t>(high << 4 | digit));
    }
    high = high >= 0 ? -1 : digit;
  }
  if (high >= 0) {
    give_up("half a byte", hex);
  }
  return bytes;
}

std::string hex_of(std::span<const uint8_t> bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    std::array<char, 4> piece = {};
    snprintf(piece.data(), piece.size(), "%02x", byte);
    text += (text.empty() ? "" : " ") + std::string(piece.data());
  }
  return text;
}

Bytes text_bytes(std::string_view text) {
  return {text.begin(), text.end()};
}

ChifBuilder& ChifBuilder::pktsize(uint16_t value) {
  pktsize_ = value;
  return *this;
}

ChifBuilder& ChifBuilder::agentx(std::span<const uint8_t> pdu) {
  return agentx_resp_len(static_cast<uint32_t>(pdu.size())).bytes_at(16, pdu);
}

ChifBuilder& ChifBuilder::u8_at(size_t offset, uint8_t value) {
  return bytes_at(offset, std::array{value});
}

ChifBuilder& ChifBuilder::u16_at(size_t offset, uint16_t value) {
  Bytes bytes;
  append(bytes, value, 2);
  return bytes_at(offset, bytes);
}

ChifBuilder& ChifBuilder::u32_at(size_t offset, uint32_t value) {
  Bytes bytes;
  append(bytes, value, 4);
  return bytes_at(offset, bytes);
}

ChifBuilder& ChifBuilder::bytes_at(size_t offset, std::span<const uint8_t> bytes) {
  packet_.resize(std::max(packet_.size(), offset + bytes.size()));
  std::copy(bytes.begin(), bytes.end(), packet_.begin() + static_cast<std::ptrdiff_t>(offset));
  return *this;
}

ChifBuilder& ChifBuilder::sized(size_t size) {
  packet_.resize(size);
  return *this;
}

Bytes ChifBuilder::bytes() const {
  Bytes packet = packet_;
  const size_t size = pktsize_.value_or(static_cast<uint16_t>(packet.size()));
  for (size_t i = 0; i < 2 && i < packet.size(); ++i) {
    packet[i] = static_cast<uint8_t>(size >> (8 * i) & 0xFF);
  }
  return packet;
}

NotifyBuilder& NotifyBuilder::named(uint16_t type, std::string_view oid) {
  const ObjectId id = object_id_of(oid);
  return name(type, id.prefix, id.sub_ids);
}

NotifyBuilder& NotifyBuilder::name(uint16_t type, uint8_t prefix,
                                   std::span<const uint32_t> sub_ids) {
  return name_claiming(type, static_cast<uint8_t>(sub_ids.size()), prefix, sub_ids);
}

NotifyBuilder& NotifyBuilder::name_claiming(uint16_t type, uint8_t n_subid, uint8_t prefix,
                                            std::span<const uint32_t> sub_ids) {
  append(bindings_, type, 2);
  append(bindings_, 0, 2);  // reserved
  append_object_id(bindings_, n_subid, prefix, sub_ids);
  return *this;
}

NotifyBuilder& NotifyBuilder::integer(std::string_view oid, int32_t value) {
  return word(2, oid, static_cast<uint32_t>(value));
}

NotifyBuilder& NotifyBuilder::word(uint16_t type, std::string_view oid, uint32_t value) {
  return named(type, oid).raw_u32(value);
}

NotifyBuilder& NotifyBuilder::counter64(std::string_view oid, uint64_t value) {
  named(70, oid);
  append(bindings_, value, 8);
  return *this;
}

NotifyBuilder& NotifyBuilder::string(uint16_t type, std::string_view oid,
                                     std::span<const uint8_t> bytes) {
  return string_claiming(type, oid, static_cast<uint32_t>(bytes.size()), bytes);
}

NotifyBuilder& NotifyBuilder::string_claiming(uint16_t type, std::string_view oid, uint32_t length,
                                              std::span<const uint8_t> bytes) {
  named(type, oid).raw_u32(length).raw(bytes);
  append(bindings_, 0, static_cast<int>((4 - bytes.size() % 4) % 4));
  return *this;
}

NotifyBuilder& NotifyBuilder::object_id(std::string_view oid, std::string_view value) {
  named(6, oid);
  const ObjectId id = object_id_of(value);
  append_object_id(bindings_, static_cast<uint8_t>(id.sub_ids.size()), id.prefix, id.sub_ids);
  return *this;
}

NotifyBuilder& NotifyBuilder::nothing(uint16_t type, std::string_view oid) {
  return named(type, oid);
}

NotifyBuilder& NotifyBuilder::raw(std::span<const uint8_t> bytes) {
  append(bindings_, bytes);
  return *this;
}

NotifyBuilder& NotifyBuilder::raw_u32(uint32_t value) {
  append(bindings_, value, 4);
  return *this;
}

NotifyBuilder& NotifyBuilder::pdu_type(uint8_t value) {
  type_ = value;
  return *this;
}

NotifyBuilder& NotifyBuilder::flags(uint8_t value) {
  flags_ = value;
  return *this;
}

NotifyBuilder& NotifyBuilder::payload_length(uint32_t value) {
  payload_length_ = value;
  return *this;
}

Bytes NotifyBuilder::bytes() const {
  Bytes pdu = {1, type_, flags_, 0};
  append(pdu, 1, 4);  // sessionID
  append(pdu, 2, 4);  // transactionID
  append(pdu, 3, 4);  // packetID
  append(pdu, payload_length_.value_or(static_cast<uint32_t>(bindings_.size())), 4);
  append(pdu, bindings_);
  return pdu;
}

Bytes fan_notification() {
  return NotifyBuilder()
      .uptime(12345)
      .trap_oid("1.3.6.1.4.1.32473.11.0.7")
      .octets("1.3.6.1.2.1.1.5.0", "esx-07.example.net")
      .integer("1.3.6.1.4.1.32473.11.2.1.1.0", -5)
      .octets("1.3.6.1.4.1.32473.11.2.1.2.0", "Fan 3 in zone 2 has failed")
      .object_id("1.3.6.1.4.1.32473.11.2.1.3.0", "1.3.6.1.4.1.32473.11.2.3")
      .ip_address("1.3.6.1.4.1.32473.11.2.1.4.0", bytes_of("c0 00 02 63"))
      .octets("1.3.6.1.4.1.32473.11.2.1.5.0", "SN0123456789")
      .bytes();
}
