// SPDX-License-Identifier: Apache-2.0
// Packets that are cut at each length, changed or made of random bytes: the
// dissector marks what it cannot read and never fails itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "lab/sim/notification.h"
#include "lab/sim/packets.h"
#include "tests/wireshark/tshark.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr unsigned kSeed = 20261121;
constexpr size_t kEachLengthUpTo = 130;
constexpr size_t kChangesEach = 30;
constexpr size_t kRandomRecords = 1500;
constexpr size_t kRecordHeader = 8;

// Whole, with each form of a value.
Bytes pdu() {
  return NotifyBuilder()
      .uptime(4711)
      .trap_oid("1.3.6.1.4.1.32473.1.0.3")
      .integer("1.3.6.1.4.1.32473.1.1.1", 3)
      .octets("1.3.6.1.4.1.32473.1.1.2", "fan")
      .counter64("1.3.6.1.4.1.32473.1.1.3", 5)
      .null("1.3.6.1.4.1.32473.1.1.4")
      .bytes();
}

Bytes kcs(uint16_t seqno, std::string_view hex) {
  return ChifBuilder(0).seqno(seqno).svc(1).bytes_at(8, bytes_of(hex)).bytes();
}

// One of each kind, requests before their replies.
std::vector<Bytes> one_of_each_kind() {
  const auto query = [](uint16_t cmdno) { return ChifBuilder(cmdno).seqno(0xDEAD).bytes(); };
  const Bytes hello = ChifBuilder(0x0193).svc(13).u16_at(8, 1).sized(16).bytes();
  const Bytes get = kcs(1, "d8 02 04 0100 4b5848564d36 00");
  const Bytes set = kcs(2, "d8 02 05 0100 4b5848564d36 00 01");
  return {to_bmc(15, hello),
          from_bmc(15, session_reply(hello, 20)),
          to_bmc(4, query(0x0002)),
          from_bmc(4, status_reply(query(0x0002), {})),
          to_bmc(4, query(0x0032)),
          from_bmc(4, ipv4_reply(query(0x0032), {})),
          to_bmc(4, query(0x0120)),
          from_bmc(4, ipv6_reply(query(0x0120), {})),
          to_bmc(4, get),
          from_bmc(4, nvram_get_reply(get, {{"KXHVM6", {1}}})),
          to_bmc(4, set),
          from_bmc(4, nvram_set_reply(set)),
          from_bmc(15, log_packet("Power redundancy is lost")),
          to_bmc(15, ChifBuilder(0x8095).svc(13).sized(16).bytes()),
          from_bmc(15, shutdown_packet(1, 60, "too hot")),
          to_bmc(15, ChifBuilder(0x8195).svc(13).seqno(1).sized(12).bytes()),
          from_bmc(15, status_packet(0x0094, 5)),
          from_bmc(15, notification_packet(pdu())),
          to_bmc(2, ChifBuilder(0x4321).sized(30).bytes())};
}

// Tries the records; those up to all_marked must each have an expert item.
void expect_no_error(LinkType type, const std::vector<Bytes>& records, size_t all_marked) {
  const Output output = show(type, records, {kExpert, kLuaError});
  EXPECT_EQ(output.status, 0) << output.errors;
  EXPECT_THAT(output.errors, Not(HasSubstr("Lua")));
  ASSERT_EQ(output.records.size(), records.size()) << output.errors;
  for (size_t i = 0; i < records.size(); ++i) {
    const Shown& shown = output.records[i];
    EXPECT_NE(shown.line, "") << hex_of(records[i]);
    EXPECT_THAT(shown.line, Not(HasSubstr("Lua")));
    for (const std::string& field : shown.fields) {
      EXPECT_THAT(field, Not(HasSubstr("Lua"))) << hex_of(records[i]);
      EXPECT_THAT(field, Not(HasSubstr(kLuaError))) << hex_of(records[i]);
    }
    EXPECT_TRUE(i >= all_marked || !shown.fields.empty())
        << "not marked: " << hex_of(records[i]) << ": " << shown.line;
  }
}

// Cut at each length from this one to the first that is the whole record; of a
// long record only its beginning.
void append_cut(const Bytes& record, size_t from, std::vector<Bytes>* records) {
  const size_t end = std::min(record.size(), from + kEachLengthUpTo);
  for (size_t length = from; length < end; ++length) {
    records->emplace_back(record.begin(), record.begin() + static_cast<std::ptrdiff_t>(length));
  }
}

void append_changed(const Bytes& record, std::mt19937* random, std::vector<Bytes>* records) {
  for (size_t i = 0; i < kChangesEach; ++i) {
    Bytes changed = record;
    for (size_t byte = 0; byte < 1 + i % 3; ++byte) {
      changed[kRecordHeader + (*random)() % (changed.size() - kRecordHeader)] =
          static_cast<uint8_t>((*random)());
    }
    records->push_back(changed);
  }
}

Bytes random_bytes(size_t size, std::mt19937* random) {
  Bytes bytes(size);
  std::ranges::generate(bytes, [random] { return static_cast<uint8_t>((*random)()); });
  return bytes;
}

TEST(DamagedPackets, AreMarkedWhereverTheyAreCut) {
  std::vector<Bytes> records;
  for (const Bytes& record : one_of_each_kind()) {
    append_cut(record, 1, &records);
  }
  // An empty packet is none that is damaged.
  std::erase_if(records, [](const Bytes& record) { return record.size() == kRecordHeader; });
  expect_no_error(LinkType::kChannel, records, records.size());
}

TEST(DamagedPackets, AreNoErrorOfTheScriptWhateverIsChanged) {
  std::mt19937 random(kSeed);
  std::vector<Bytes> records;
  for (const Bytes& record : one_of_each_kind()) {
    append_changed(record, &random, &records);
  }
  constexpr std::array<uint16_t, 17> kCommands = {0x0000, 0x8000, 0x0002, 0x8002, 0x0032, 0x8032,
                                                  0x0120, 0x8120, 0x0093, 0x8093, 0x0193, 0x8193,
                                                  0x0094, 0x0095, 0x8095, 0x0195, 0x0194};
  for (size_t i = 0; i < kRandomRecords; ++i) {
    Bytes packet = random_bytes(8 + random() % 200, &random);
    put_u16(packet, chif::header::kCmdno, kCommands[i % kCommands.size()]);
    put_u16(packet, chif::header::kSvc, static_cast<uint16_t>(random() % 2));
    const auto channel = static_cast<uint32_t>(i % 3);
    records.push_back(random() % 2 == 0 ? to_bmc(channel, packet) : from_bmc(channel, packet));
  }
  records.push_back(from_bmc(15, random_bytes(8192, &random)));
  expect_no_error(LinkType::kChannel, records, 0);
}

// Wireshark's own dissector throws at a PDU that is not whole; a script that such
// an exception went through runs out of its stack after a hundred of them.
TEST(DamagedPackets, OfPdusForWiresharksOwnDissectorCostTheScriptNothing) {
  constexpr uint8_t kTypes = 20;
  constexpr int kCopies = 15;
  std::mt19937 random(kSeed);
  std::vector<Bytes> records;
  for (int copy = 0; copy < kCopies; ++copy) {
    for (uint8_t type = 0; type < kTypes; ++type) {
      NotifyBuilder pdu;
      pdu.pdu_type(type).raw(random_bytes(40, &random));
      records.push_back(from_bmc(15, notification_packet(pdu.payload_length(100).bytes())));
      records.push_back(from_bmc(15, notification_packet(pdu.payload_length(40).bytes())));
    }
  }
  expect_no_error(LinkType::kChannel, records, records.size());
}

TEST(DamagedNotifications, AreMarkedAndNoErrorOfTheScript) {
  std::mt19937 random(kSeed);
  std::vector<Bytes> records;
  const Bytes whole = from_agent(77, pdu());
  for (size_t length = 1; length < whole.size(); ++length) {
    if (length != kRecordHeader) {
      records.emplace_back(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    }
  }
  const size_t cut = records.size();
  for (size_t i = 0; i < kRandomRecords; ++i) {
    Bytes changed = pdu();
    for (size_t byte = 0; byte < 1 + i % 4; ++byte) {
      changed[random() % changed.size()] = static_cast<uint8_t>(random());
    }
    records.push_back(from_agent(77, i % 2 == 0 ? changed : random_bytes(i % 300, &random)));
  }
  expect_no_error(LinkType::kAgent, records, cut);
}

}  // namespace
