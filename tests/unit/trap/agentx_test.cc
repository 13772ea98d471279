// SPDX-License-Identifier: Apache-2.0
// The AgentX decoder on well-formed notifications.
#include "trap/agentx.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "log/debug_flags.h"
#include "tests/support/call_script.h"
#include "tests/support/packets.h"
#include "tests/unit/trap/notification_text.h"

namespace {

class Decoder : public testing::Test {
 protected:
  void TearDown() override { g_daemon_debug_flag = 0; }

  static Lines bindings_of(const NotifyBuilder& notify) {
    return bindings_text(decode_notification(notify.bytes()));
  }

  // The messages without those that hold addresses of memory.
  Lines logs_without_cursors() const {
    Lines lines;
    std::copy_if(script.logs().begin(), script.logs().end(), std::back_inserter(lines),
                 [](const std::string& line) { return line.find(" ptr [") == std::string::npos; });
    return lines;
  }

  CallScript script;
};

TEST_F(Decoder, PicksOutTimeTrapAndBindings) {
  const Notification notification =
      decode_notification(NotifyBuilder()
                              .uptime(123456)
                              .trap_oid("1.3.6.1.4.1.32473.0.7")
                              .octets("1.3.6.1.4.1.32473.1.1", "fan 3")
                              .integer("1.3.6.1.4.1.32473.1.2", -5)
                              .bytes());
  EXPECT_EQ(notification.timestamp, 123456U);
  EXPECT_STREQ(notification.trapOid.data(), "1.3.6.1.4.1.32473.0.7");
  EXPECT_FALSE(notification.reset_seen);
  EXPECT_EQ(bindings_text(notification),
            Lines({"1.3.6.1.4.1.32473.1.1 OCTETS fan 3", "1.3.6.1.4.1.32473.1.2 INTEGER -5"}));
  EXPECT_EQ(script.log_calls(), Lines());
}

TEST_F(Decoder, FindsNothingInAnEmptyNotification) {
  const Notification notification = decode_notification(NotifyBuilder().bytes());
  EXPECT_EQ(notification.timestamp, 0U);
  EXPECT_STREQ(notification.trapOid.data(), "");
  EXPECT_FALSE(notification.reset_seen);
  EXPECT_TRUE(notification.vbs.empty());
  EXPECT_EQ(script.log_calls(), Lines());
}

TEST_F(Decoder, KeepsNothingFromTheNotificationBefore) {
  decode_notification(NotifyBuilder().uptime(5).trap_oid("1.3.6.1.4.1.6061").bytes());
  const Notification notification = decode_notification(NotifyBuilder().bytes());
  EXPECT_EQ(notification.timestamp, 0U);
  EXPECT_STREQ(notification.trapOid.data(), "");
  EXPECT_FALSE(notification.reset_seen);
}

TEST_F(Decoder, IgnoresPduTypeAndFlags) {
  EXPECT_EQ(bindings_of(NotifyBuilder().pdu_type(99).flags(0xFF).integer("1.3.6.1.4.1", 7)),
            Lines({"1.3.6.1.4.1 INTEGER 7"}));
}

// Words.

TEST_F(Decoder, MakesIntegersOfCountersAndGauges) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .counter32("1.3.6.1.4.1", 0xFFFFFFFF)
                            .gauge32("1.3.6.1.4.2", 0x80000000)
                            .integer("1.3.6.1.4.3", 2147483647)),
            Lines({"1.3.6.1.4.1 INTEGER -1", "1.3.6.1.4.2 INTEGER -2147483648",
                   "1.3.6.1.4.3 INTEGER 2147483647"}));
}

TEST_F(Decoder, DropsTheValueOfOtherTimeTicks) {
  const Notification notification =
      decode_notification(NotifyBuilder().timeticks("1.3.6.1.4.1", 500).bytes());
  EXPECT_EQ(bindings_text(notification), Lines({"1.3.6.1.4.1 TIMETICKS 0"}));
  EXPECT_EQ(notification.timestamp, 0U);
}

TEST_F(Decoder, TakesTheLargestTime) {
  EXPECT_EQ(decode_notification(NotifyBuilder().uptime(0xFFFFFFFF).bytes()).timestamp, 0xFFFFFFFFU);
}

TEST_F(Decoder, TakesTheLastTime) {
  EXPECT_EQ(decode_notification(NotifyBuilder().uptime(5).uptime(6).bytes()).timestamp, 6U);
}

struct TimeName {
  const char* oid;
  bool is_time;
};

class SysUpTimeName : public Decoder, public testing::WithParamInterface<TimeName> {};

TEST_P(SysUpTimeName, NeedOnlyBePartOfTheName) {
  const Notification notification =
      decode_notification(NotifyBuilder().integer(GetParam().oid, 9).bytes());
  EXPECT_EQ(notification.timestamp, GetParam().is_time ? 9U : 0U);
  EXPECT_EQ(notification.vbs.size(), GetParam().is_time ? 0U : 1U);
}

INSTANTIATE_TEST_SUITE_P(
    Names, SysUpTimeName,
    testing::Values(TimeName{"1.3.6.1.2.1.1.3.0", true}, TimeName{"1.3.6.1.2.1.1.3", true},
                    TimeName{"1.3.6.1.2.1.1.3.0.4.5", true}, TimeName{"1.3.6.1.2.1.1.37", true},
                    TimeName{"1.3.6.1.4.1.3.6.1.2.1.1.3", true},
                    TimeName{"1.3.6.1.2.1.1.2.0", false}, TimeName{"1.3.6.1.2.1.11.3", false}));

TEST_F(Decoder, LooksForTheTimeAmongWordsOnly) {
  const Notification notification =
      decode_notification(NotifyBuilder().octets("1.3.6.1.2.1.1.3.0", "noon").bytes());
  EXPECT_EQ(notification.timestamp, 0U);
  EXPECT_EQ(bindings_text(notification), Lines({"1.3.6.1.2.1.1.3.0 OCTETS noon"}));
}

// Object identifiers.

TEST_F(Decoder, ForwardsObjectIdentifiers) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .object_id("1.3.6.1.4.1", "1.3.6.1.4.1.32473.5")
                            .object_id("1.3.6.1.4.2", "1.3.6.1.0")
                            .integer("1.3.6.1.4.3", 1)),
            Lines({"1.3.6.1.4.1 OID 1.3.6.1.4.1.32473.5", "1.3.6.1.4.2 OID 1.3.6.1.0",
                   "1.3.6.1.4.3 INTEGER 1"}));
}

class SnmpTrapOidName : public Decoder, public testing::WithParamInterface<const char*> {};

TEST_P(SnmpTrapOidName, NeedOnlyBePartOfTheName) {
  const Notification notification =
      decode_notification(NotifyBuilder().object_id(GetParam(), "1.3.6.1.4.1.5").bytes());
  EXPECT_STREQ(notification.trapOid.data(), "1.3.6.1.4.1.5");
  EXPECT_TRUE(notification.vbs.empty());
}

INSTANTIATE_TEST_SUITE_P(Names, SnmpTrapOidName,
                         testing::Values("1.3.6.1.6.3.1.1.4.1.0", "1.3.6.1.6.3.1.1.4.1",
                                         "1.3.6.1.6.3.1.1.4.1.0.9", "1.3.6.1.6.3.1.1.4.17",
                                         "1.3.6.1.4.1.3.6.1.6.3.1.1.4.1"));

TEST_F(Decoder, ForwardsSnmpTrapEnterprise) {
  EXPECT_EQ(bindings_of(NotifyBuilder().object_id("1.3.6.1.6.3.1.1.4.3.0", "1.3.6.1.4.1.32473")),
            Lines({"1.3.6.1.6.3.1.1.4.3.0 OID 1.3.6.1.4.1.32473"}));
}

TEST_F(Decoder, TakesTheLastTrap) {
  EXPECT_STREQ(decode_notification(
                   NotifyBuilder().trap_oid("1.3.6.1.4.1.55555").trap_oid("1.3.6.1.4.2").bytes())
                   .trapOid.data(),
               "1.3.6.1.4.2");
}

TEST_F(Decoder, LooksForTheTrapAmongObjectIdentifiersOnly) {
  const Notification notification =
      decode_notification(NotifyBuilder().octets("1.3.6.1.6.3.1.1.4.1.0", "1.3.6.1.4").bytes());
  EXPECT_STREQ(notification.trapOid.data(), "");
  EXPECT_EQ(notification.vbs.size(), 1U);
}

TEST_F(Decoder, CutsALargeSubIdentifierOfTheTrap) {
  EXPECT_STREQ(decode_notification(NotifyBuilder().trap_oid("1.3.6.1.4.1.12345678.1").bytes())
                   .trapOid.data(),
               "1.3.6.1.4.1.123456.1");
}

TEST_F(Decoder, LeavesOutANameThatDoesNotParse) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .integer("1.3.6.1.4.4294967295", 1)
                            .object_id("1.3.6.1.4.1", "1.3.6.1.4.4294967295")
                            .integer("1.3.6.1.4.2", 2)),
            Lines({"1.3.6.1.4.2 INTEGER 2"}));
}

struct ResetMark {
  const char* trap_oid;
  bool reset;
};

class ResetTrap : public Decoder, public testing::WithParamInterface<ResetMark> {};

TEST_P(ResetTrap, HoldsTheDigits6061Anywhere) {
  EXPECT_EQ(decode_notification(NotifyBuilder().trap_oid(GetParam().trap_oid).bytes()).reset_seen,
            GetParam().reset);
}

INSTANTIATE_TEST_SUITE_P(Oids, ResetTrap,
                         testing::Values(ResetMark{"1.3.6.1.4.1.32473.6061", true},
                                         ResetMark{"1.3.6.1.4.1.6061.0.1", true},
                                         ResetMark{"1.3.6.1.4.1.160612", true},
                                         ResetMark{"1.3.6.1.4.1.1260619", true},    // cut: 126061
                                         ResetMark{"1.3.6.1.4.1.12360610", false},  // cut: 123606
                                         ResetMark{"1.3.6.1.4.1.606.1", false},
                                         ResetMark{"1.3.6.1.4.1.60.61", false},
                                         ResetMark{"1.3.6.1.4.1.32473.6060", false}));

TEST_F(Decoder, LooksForTheResetInTheTrapOnly) {
  EXPECT_FALSE(decode_notification(NotifyBuilder()
                                       .trap_oid("1.3.6.1.4.1.1")
                                       .object_id("1.3.6.1.4.6061", "1.3.6.1.4.6061")
                                       .octets("1.3.6.1.4.6061", "6061")
                                       .bytes())
                   .reset_seen);
}

// Octets.

class OctetLength : public Decoder, public testing::WithParamInterface<size_t> {};

TEST_P(OctetLength, IsPaddedToFour) {
  const std::string text(GetParam(), 'x');
  EXPECT_EQ(bindings_of(NotifyBuilder().octets("1.3.6.1.4.1", text).integer("1.3.6.1.4.2", 1)),
            Lines({"1.3.6.1.4.1 OCTETS " + text, "1.3.6.1.4.2 INTEGER 1"}));
}

INSTANTIATE_TEST_SUITE_P(Lengths, OctetLength,
                         testing::Values(0, 1, 2, 3, 4, 5, 7, 8, 127, 128, 255, 256, 1021));

TEST_F(Decoder, EndsTextAtItsFirstZero) {
  using namespace std::string_literals;
  EXPECT_EQ(
      bindings_of(NotifyBuilder().octets("1.3.6.1.4.1", "ab\0cd"s).octets("1.3.6.1.4.2", "\0x"s)),
      Lines({"1.3.6.1.4.1 OCTETS ab", "1.3.6.1.4.2 OCTETS "}));
}

TEST_F(Decoder, ForwardsBytesAsTheyAre) {
  EXPECT_EQ(bindings_of(NotifyBuilder().octets("1.3.6.1.4.1", "\x80\xff%n%s\n")),
            Lines({"1.3.6.1.4.1 OCTETS \x80\xff%n%s\n"}));
}

TEST_F(Decoder, MakesOctetsOfOpaque) {
  EXPECT_EQ(bindings_of(NotifyBuilder().opaque("1.3.6.1.4.1", bytes_of("9f 78 04 42 00 01"))),
            Lines({"1.3.6.1.4.1 OCTETS \x9fx\x04"
                   "B"}));
}

TEST_F(Decoder, ForwardsAddresses) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .ip_address("1.3.6.1.4.1", bytes_of("0a 00 00 05"))
                            .ip_address("1.3.6.1.4.2", bytes_of("00 00 00 00"))
                            .ip_address("1.3.6.1.4.3", bytes_of("ff ff ff ff"))),
            Lines({"1.3.6.1.4.1 IPADDRESS 10.0.0.5", "1.3.6.1.4.2 IPADDRESS 0.0.0.0",
                   "1.3.6.1.4.3 IPADDRESS 255.255.255.255"}));
}

TEST_F(Decoder, LeavesOutAnAddressThatDoesNotParse) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .ip_address("1.3.6.1.4.1", {})
                            .ip_address("1.3.6.1.4.2", bytes_of("0a 00 00 05 06"))
                            .ip_address("1.3.6.1.4.3", Bytes(16, 0x20))
                            .ip_address("1.3.6.1.4.4", bytes_of("0a 00 00 06"))),
            Lines({"1.3.6.1.4.4 IPADDRESS 10.0.0.6"}));
}

TEST_F(Decoder, KeepsTheCommunityToItself) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .community("public")
                            .octets("1.3.6.1.6.3.18.1.4.7", "x")
                            .ip_address("1.3.6.1.6.3.18.1.4.0", bytes_of("01 02 03 04"))
                            .octets("1.3.6.1.6.3.18.1.3.0", "y")),
            Lines({"1.3.6.1.6.3.18.1.3.0 OCTETS y"}));
}

// Types without a conversion.

class SkippedType : public Decoder, public testing::WithParamInterface<uint16_t> {};

TEST_P(SkippedType, WithoutAValueTakesItsTrueLength) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .nothing(GetParam(), "1.3.6.1.4.1.2.3")
                            .integer("1.3.6.1.4.2", 1)
                            .nothing(GetParam(), "1.3.6.1.4")
                            .integer("1.3.6.1.4.3", 2)),
            Lines({"1.3.6.1.4.2 INTEGER 1", "1.3.6.1.4.3 INTEGER 2"}));
  EXPECT_EQ(script.logs(), Lines());
}

INSTANTIATE_TEST_SUITE_P(Types, SkippedType, testing::Values(5, 128, 129, 130));

TEST_F(Decoder, SkipsCounter64ByItsTrueLength) {
  EXPECT_EQ(
      bindings_of(
          NotifyBuilder().counter64("1.3.6.1.4.1.9", 0x0202020202020202).integer("1.3.6.1.4.2", 1)),
      Lines({"1.3.6.1.4.2 INTEGER 1"}));
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(Decoder, AdvancesOverAnUnknownTypeByTheLengthBefore) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .integer("1.3.6.1.4.1", 1)
                            .word(99, "1.3.6.1.4.2", 2)
                            .integer("1.3.6.1.4.3", 3)),
            Lines({"1.3.6.1.4.1 INTEGER 1", "1.3.6.1.4.3 INTEGER 3"}));
}

TEST_F(Decoder, KeepsTheOrderOfManyBindings) {
  NotifyBuilder notify;
  Lines expected;
  for (int i = 0; i < 30; ++i) {
    const std::string oid = "1.3.6.1.4.1.32473." + std::to_string(i);
    notify.integer(oid, i);
    expected.push_back(oid + " INTEGER " + std::to_string(i));
  }
  EXPECT_EQ(bindings_of(notify), expected);
}

// Debug messages.

TEST_F(Decoder, WritesAWordDown) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().uptime(0x1F).counter32("1.3.6.1.4.1.9", 255).bytes());
  EXPECT_EQ(logs_without_cursors(),
            Lines({"6 vb[1] OID: [1.3.6.1.2.1.1.3.0] [TIMETICKS] [0x1f] vblen [28] vbtype [67]\n",
                   "6 vb[2] OID: [1.3.6.1.4.1.9] [COUNTER32] [0xff] vblen [20] vbtype [65]\n",
                   "6 tvudrev: trapOid is [].\n",
                   "6 tvurev: No Mox reset string in trapOid.  Set ret to [0]\n"}));
}

TEST_F(Decoder, NamesTheOtherWords) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().integer("1.3.6.1.4", -1).gauge32("1.3.6.1.4", 16).bytes());
  const Lines logs = logs_without_cursors();
  ASSERT_EQ(logs.size(), 4U);
  EXPECT_EQ(logs[0], "6 vb[1] OID: [1.3.6.1.4] [INTEGER] [0xffffffff] vblen [12] vbtype [2]\n");
  EXPECT_EQ(logs[1], "6 vb[2] OID: [1.3.6.1.4] [GAUGE32] [0x10] vblen [12] vbtype [66]\n");
}

TEST_F(Decoder, WritesAnObjectIdentifierAndAResetDown) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().trap_oid("1.3.6.1.4.1.6061").bytes());
  EXPECT_EQ(logs_without_cursors(),
            Lines({"6 vb[1] OID: [1.3.6.1.6.3.1.1.4.1.0] [OID] [1.3.6.1.4.1.6061] vblen [44]\n",
                   "6 tvudrev: trapOid is [1.3.6.1.4.1.6061].\n",
                   "6 tvurev: Found 6061 string in trapOid indicating Mox reset.  Set ret to "
                   "[1]\n"}));
}

TEST_F(Decoder, WritesOctetsDownAsTextAndHexadecimal) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().octets("1.3.6.1.4.1", "a\x80%n").bytes());
  const Lines logs = logs_without_cursors();
  ASSERT_EQ(logs.size(), 4U);
  EXPECT_EQ(logs[0], "6 vb[1] OID: [1.3.6.1.4.1] [OCTET_STRING] [a\x80%n] vblen [20]\n");
  EXPECT_EQ(logs[1], "6 OctetString in Hex [61ffffff8256e]\n");
}

TEST_F(Decoder, WritesTheCommunityDownToo) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().community("abcde").bytes());
  const Lines logs = logs_without_cursors();
  ASSERT_EQ(logs.size(), 4U);
  EXPECT_EQ(logs[0], "6 vb[1] OID: [1.3.6.1.6.3.18.1.4.0] [OCTET_STRING] [abcde] vblen [40]\n");
  EXPECT_EQ(logs[1], "6 OctetString in Hex [6162636465]\n");
}

TEST_F(Decoder, MakesHexadecimalOfAnAddresssTextNotItsBytes) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder()
                          .ip_address("1.3.6.1.4.1", bytes_of("0a 00 00 05"))
                          .opaque("1.3.6.1.4.1", bytes_of("41 00 42"))
                          .bytes());
  const Lines logs = logs_without_cursors();
  ASSERT_EQ(logs.size(), 6U);
  EXPECT_EQ(logs[0], "6 vb[1] OID: [1.3.6.1.4.1] [IPADDRESS] [10.0.0.5] vblen [20]\n");
  EXPECT_EQ(logs[1], "6 OctetString in Hex [31302e30]\n");  // "10.0"
  EXPECT_EQ(logs[2], "6 vb[2] OID: [1.3.6.1.4.1] [OPAQUE] [A] vblen [20]\n");
  EXPECT_EQ(logs[3], "6 OctetString in Hex [410000]\n");
}

TEST_F(Decoder, WritesTheCursorDownBeforeAndAfterEveryBinding) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().integer("1.3.6.1.4", 1).null("1.3.6.1.4.1").bytes());
  const Lines& logs = script.logs();
  ASSERT_EQ(logs.size(), 8U);
  EXPECT_EQ(logs[1].find("6 before update: vb ptr [0x"), 0U) << logs[1];
  EXPECT_EQ(logs[3], "6 vb[2] OID: [1.3.6.1.4.1] [] vblen [12] vbtype [5] left out\n");
  EXPECT_EQ(logs[4].find("6 before update: vb ptr [0x"), 0U) << logs[4];
  EXPECT_NE(logs[1].find("] len [0x0] vblen [0xc]\n"), std::string::npos) << logs[1];
  EXPECT_EQ(logs[2].find("6 Total bytes processed [12/24]. new vb ptr ["), 0U) << logs[2];
  EXPECT_NE(logs[2].find("] len [0xc] vblen [0xc]\n"), std::string::npos) << logs[2];
  EXPECT_NE(logs[4].find("] len [0xc] vblen [0xc]\n"), std::string::npos) << logs[4];
  EXPECT_EQ(logs[5].find("6 Total bytes processed [24/24]. new vb ptr ["), 0U) << logs[5];
}

TEST_F(Decoder, WritesDownACounter64ByItsName) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().counter64("1.3.6.1.4.1", 5).bytes());
  EXPECT_EQ(logs_without_cursors()[0],
            "6 vb[1] OID: [1.3.6.1.4.1] [COUNTER64] vblen [20] vbtype [70] left out\n");
}

TEST_F(Decoder, WritesDownWhatIsLeftOut) {
  g_daemon_debug_flag = 1;
  decode_notification(NotifyBuilder().integer("1.3.6.1.4.4294967295", 1).bytes());
  const Lines logs = logs_without_cursors();
  ASSERT_EQ(logs.size(), 4U);
  EXPECT_EQ(logs[0], "6 vb[1] OID: [1.3.6.1.4.-1] [INTEGER] [0x1] vblen [16] vbtype [2]\n");
  EXPECT_EQ(logs[1].find("6 vb[1] OID: [1.3.6.1.4.-1]"), 0U) << logs[1];
}

}  // namespace
