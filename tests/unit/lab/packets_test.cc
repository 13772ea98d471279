// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/packets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "wire/little_endian.h"

using testing::Each;
using testing::ElementsAre;

namespace {

Bytes hex(const char* text) {
  return parse_hex(text).value();
}

const Bytes kHelloBytes = hex("1000 0700 9301 0d00 0100 0000 0000 0000");
const Bytes kGet = hex("1500 0300 0000 0100 d8 02 04 0100 4b5848564d3600");
const Bytes kSet = hex("1600 0400 0000 0100 d8 02 05 0100 4b5848564d3600 01");

}  // namespace

TEST(Classify, KnowsEveryPacketOfTheHost) {
  EXPECT_EQ(classify(kHelloBytes), PacketKind::kHello);
  EXPECT_EQ(classify(hex("1000000093010d000200000000000000")), PacketKind::kBye);
  EXPECT_EQ(classify(hex("0c00000093000d0002000400")), PacketKind::kBye);
  EXPECT_EQ(classify(hex("1000000093010d000300000000000000")), PacketKind::kConnect);
  EXPECT_EQ(classify(hex("0800adde02000000")), PacketKind::kStatusQuery);
  EXPECT_EQ(classify(hex("0800adde32000000")), PacketKind::kIpv4Query);
  EXPECT_EQ(classify(hex("0800adde20010000")), PacketKind::kIpv6Query);
  EXPECT_EQ(classify(kGet), PacketKind::kNvramGet);
  EXPECT_EQ(classify(kSet), PacketKind::kNvramSet);
  EXPECT_EQ(classify(hex("0a00010000000100 1801")), PacketKind::kOtherKcs);
  EXPECT_EQ(classify(hex("1000000095800d000000000000000000")), PacketKind::kLogAck);
  EXPECT_EQ(classify(hex("0c00000095810d0000000000")), PacketKind::kShutdownAck);
  EXPECT_EQ(classify(hex("0800000034120d00")), PacketKind::kUnknown);
  EXPECT_EQ(classify(hex("08")), PacketKind::kUnknown);
}

TEST(KindName, LeadsBackToTheKind) {
  for (int kind = 0; kind <= static_cast<int>(PacketKind::kUnknown); ++kind) {
    const auto value = static_cast<PacketKind>(kind);
    EXPECT_EQ(kind_from_name(kind_name(value)), value);
  }
  EXPECT_EQ(kind_from_name("hallo"), std::nullopt);
}

TEST(SessionReply, CarriesTheRequestsNumberAndCommand) {
  EXPECT_EQ(session_reply(kHelloBytes, 20),
            hex("1400 0700 9381 0d00 0000 0000 0000 0000 0000 0000"));
  EXPECT_EQ(session_reply(kHelloBytes, 4084).size(), 4084U);
  EXPECT_EQ(get_u16(session_reply(kHelloBytes, 4084), 0), 4084);
}

TEST(StatusReply, HoldsGenerationAndFirmware) {
  BmcIdentity identity;
  identity.generation = -2;
  identity.firmware_major = 3;
  identity.firmware_minor = 44;
  identity.firmware_date = pack_date(2025, 4, 23);
  const Bytes packet = status_reply(hex("0800adde02000000"), identity);
  EXPECT_EQ(packet.size(), 100U);
  EXPECT_THAT(std::span(packet).first(8), ElementsAre(100, 0, 0xAD, 0xDE, 0x02, 0x80, 0, 0));
  EXPECT_EQ(get_u16(packet, 16), 3 << 8 | 44);
  EXPECT_EQ(get_u32(packet, 18), 0x8D2E0000);
  EXPECT_EQ(packet[71], 0xFE);
}

TEST(Ipv4Reply, HoldsTheAddressBackwards) {
  BmcIdentity identity;
  identity.ipv4 = {192, 0, 0, 10};
  const Bytes packet = ipv4_reply(hex("0800adde32000000"), identity);
  EXPECT_EQ(packet.size(), 276U);
  EXPECT_THAT(std::span(packet).subspan(32, 4), ElementsAre(10, 0, 0, 192));
}

TEST(Ipv6Reply, HoldsTwelveEntries) {
  BmcIdentity identity;
  identity.ipv6_options = 1;
  identity.ipv6_entries = {{parse_ipv6("2001:db8::1").value(), 2},
                           {parse_ipv6("fe80::1").value(), 0}};
  const Bytes packet = ipv6_reply(hex("0800adde20010000"), identity);
  EXPECT_EQ(packet.size(), 512U);
  EXPECT_EQ(get_u32(packet, 8), 0U);
  EXPECT_EQ(get_u32(packet, 12), 1U);
  EXPECT_THAT(std::span(packet).subspan(20, 4), ElementsAre(0x20, 0x01, 0x0D, 0xB8));
  EXPECT_EQ(packet[38], 2);
  EXPECT_THAT(std::span(packet).subspan(40, 2), ElementsAre(0xFE, 0x80));
  EXPECT_EQ(packet[58], 0);
  EXPECT_EQ(packet[38 + 20 * 11], 0xFF);
}

TEST(NvramGetReply, HoldsLengthAndValue) {
  EXPECT_EQ(nvram_get_reply(kGet, {{"KXHVM6", {7}}}),
            hex("1000 0300 0080 0100 dc 02 00 00 00 0100 07"));
  EXPECT_EQ(nvram_get_reply(kGet, {{"KXHVM6", {1, 2, 3, 4}}}),
            hex("1300 0300 0080 0100 dc 02 00 00 00 0400 01020304"));
}

TEST(NvramGetReply, SaysWhenThereIsNoSuchVariable) {
  EXPECT_EQ(nvram_get_reply(kGet, {}), hex("0f00 0300 0080 0100 dc 02 00 00 88 0000"));
}

TEST(NvramSetReply, HoldsASuccess) {
  EXPECT_EQ(nvram_set_reply(kSet), hex("0d00 0400 0080 0100 dc 02 00 00 00"));
}

TEST(NvramRequest, GivesNameAndValue) {
  EXPECT_EQ(nvram_name(kGet), "KXHVM6");
  EXPECT_EQ(nvram_name(kSet), "KXHVM6");
  EXPECT_THAT(nvram_value(kSet), ElementsAre(1));
}

TEST(NvramRequest, StaysInsideThePacket) {
  EXPECT_EQ(nvram_name(std::span(kSet).first(16)), "KXH");
  EXPECT_TRUE(nvram_value(std::span(kSet).first(16)).empty());
  Bytes claims_much = kSet;
  claims_much[11] = 0xFF;
  EXPECT_THAT(nvram_value(claims_much), ElementsAre(1));
}

TEST(LogPacket, HoldsLengthAndText) {
  EXPECT_EQ(log_packet("abc"), hex("1400 0000 9500 0d00 0300 0000 0000 0000 616263 00"));
  EXPECT_EQ(log_packet(std::string(5000, 'x')).size(), 4096U);
}

TEST(ShutdownPacket, HoldsActionDelayAndReason) {
  EXPECT_EQ(shutdown_packet(1, 30, "fan"), hex("1400 0000 9501 0d00 01000000 1e000000 66616e 00"));
  EXPECT_EQ(get_u32(shutdown_packet(0, -1, ""), 12), 0xFFFFFFFF);
}

TEST(NotificationPacket, HoldsThePdusLength) {
  const Bytes packet = notification_packet(Bytes(20, 0xAA));
  EXPECT_EQ(packet.size(), 36U);
  EXPECT_EQ(get_u16(packet, 0), 36);
  EXPECT_EQ(get_u32(packet, 12), 20U);
  EXPECT_THAT(std::span(packet).subspan(16), Each(0xAA));
}

TEST(ChangeFields, ReplacesOnlyWhatIsGiven) {
  Bytes packet(16, 0x11);
  change_fields(&packet, {});
  EXPECT_THAT(packet, Each(0x11));
  FieldChanges changes;
  changes.values = {{"seqno", 0x2222}, {"errcode", 5}, {"more", 0x3333}};
  change_fields(&packet, changes);
  EXPECT_EQ(packet, hex("1111 2222 1111 1111 05000000 1111 3333"));
}

TEST(ChangeFields, PktsizeFollowsTheSizeUnlessItIsGiven) {
  Bytes packet = log_packet("abc");
  FieldChanges changes;
  changes.size = 17;
  change_fields(&packet, changes);
  EXPECT_EQ(packet.size(), 17U);
  EXPECT_EQ(get_u16(packet, 0), 17);
  changes.size = 40;
  changes.values["pktsize"] = 99;
  change_fields(&packet, changes);
  EXPECT_EQ(packet.size(), 40U);
  EXPECT_EQ(get_u16(packet, 0), 99);
}

TEST(Describe, SaysWhatTheHostSent) {
  EXPECT_EQ(describe_to_bmc(kHelloBytes), "hello, seqno 7");
  EXPECT_EQ(describe_to_bmc(hex("1000000093010d000300000009000000")),
            "connect, seqno 0, parameter 9");
  EXPECT_EQ(describe_to_bmc(kGet), "read of variable KXHVM6");
  EXPECT_EQ(describe_to_bmc(kSet), "write of variable KXHVM6=01");
  EXPECT_EQ(describe_to_bmc(hex("1234")), "unknown packet 1234");
}

TEST(Describe, SaysWhatTheBmcSent) {
  EXPECT_EQ(describe_from_bmc(log_packet("50%n")), "log text \"50%n\"");
  EXPECT_EQ(describe_from_bmc(shutdown_packet(0, 30, "heat")),
            "shutdown request, in 30 s, reason \"heat\"");
  EXPECT_EQ(describe_from_bmc(shutdown_packet(1, 5, "")), "reboot request, in 5 s, reason \"\"");
  EXPECT_EQ(describe_from_bmc(shutdown_packet(2, 0, "ok")), "shutdown abort, reason \"ok\"");
  EXPECT_EQ(describe_from_bmc(status_packet(0x8094, 5)),
            "status 0x8094, error 5, AgentX PDU of 0 bytes");
  EXPECT_EQ(describe_from_bmc({}), "empty read");
}

TEST(Describe, TakesAnyPrefixOfAnyPacket) {
  for (const Bytes& packet : {kHelloBytes, kGet, kSet, log_packet("abc"),
                              shutdown_packet(1, 2, "abc"), notification_packet(Bytes(40, 0x06))}) {
    for (size_t length = 0; length <= packet.size(); ++length) {
      EXPECT_FALSE(describe_to_bmc(std::span(packet).first(length)).empty());
      EXPECT_FALSE(describe_from_bmc(std::span(packet).first(length)).empty());
    }
  }
}
