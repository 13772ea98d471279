// SPDX-License-Identifier: Apache-2.0
// One notification in, one SNMPv1 trap to every destination out.
#include "trap/trap_sender.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "log/complaints.h"
#include "log/debug_flags.h"
#include "tests/support/call_script.h"
#include "tests/support/packets.h"
#include "tests/unit/trap/trap_reader.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/traps.h"

namespace {

constexpr int kFd = 5;

class TrapSender : public testing::Test {
 protected:
  void SetUp() override {
    snmp_enabled_flag = 1;
    trap_destinations = {"192.0.2.7"};
    trap_communities = {"public"};
    set_host_address("203.0.113.4");
  }
  void TearDown() override {
    snmp_enabled_flag = 0;
    trap_destinations.clear();
    trap_communities.clear();
    set_host_address("");
    g_daemon_debug_flag = 0;
  }

  static void set_host_address(std::string_view text) {
    host_ipaddress.fill('\0');
    text.copy(host_ipaddress.data(), host_ipaddress.size() - 1);
  }

  // A socket of its own for every trap, and nothing else.
  void expect_session() { script.socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0).returns(kFd); }
  void expect_trap(std::string_view address) {
    expect_session();
    script.sendto(kFd, address);
    script.close(kFd);
  }

  int send(const NotifyBuilder& notify) { return send_trap_to_host(notify.bytes()); }

  ReadTrap sent(size_t index = 0) const {
    return index < script.datagrams().size() ? read_trap(script.datagrams()[index])
                                             : ReadTrap{"none", {}};
  }

  CallScript script;
};

NotifyBuilder notification(std::string_view trap_oid = "1.3.6.1.4.1.32473.1.0.7") {
  return NotifyBuilder().uptime(123).trap_oid(trap_oid);
}

TEST_F(TrapSender, SendsOneTrap) {
  expect_trap("192.0.2.7:162");
  EXPECT_EQ(send(notification()
                     .octets("1.3.6.1.4.1.32473.1.1", "fan 3")
                     .integer("1.3.6.1.4.1.32473.1.2", -5)
                     .object_id("1.3.6.1.4.1.32473.1.3", "1.3.6.1.4.1.9")
                     .ip_address("1.3.6.1.4.1.32473.1.4", bytes_of("c0 00 02 63"))
                     .timeticks("1.3.6.1.4.1.32473.1.5", 7)
                     .octets("1.3.6.1.4.1.32473.1.6", "")),
            0);
  EXPECT_EQ(sent().header, "public 1.3.6.1.4.1.32473.1 203.0.113.4 6 7 123");
  EXPECT_EQ(sent().bindings,
            Lines({"1.3.6.1.4.1.32473.1.1 04:fan 3", "1.3.6.1.4.1.32473.1.2 02:-5",
                   "1.3.6.1.4.1.32473.1.3 06:1.3.6.1.4.1.9", "1.3.6.1.4.1.32473.1.4 40:192.0.2.99",
                   "1.3.6.1.4.1.32473.1.5 43:0", "1.3.6.1.4.1.32473.1.6 04:"}));
  EXPECT_EQ(script.logs(), Lines({"6 tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.7] to dest "
                                  "[192.0.2.7] ...\n"}));
}

TEST_F(TrapSender, SaysWhereATrapGoesBeforeItIsSent) {
  expect_session();
  script.message(LOG_INFO,
                 "tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.7] to dest "
                 "[192.0.2.7] ...\n");
  script.sendto(kFd, "192.0.2.7:162");
  script.close(kFd);
  EXPECT_EQ(send(notification()), 0);
}

TEST_F(TrapSender, SendsEveryDestinationItsOwnCommunity) {
  trap_destinations = {"192.0.2.7", " 198.51.100.9", "203.0.113.1"};
  trap_communities = {"public", "", "my ops"};
  expect_trap("192.0.2.7:162");
  expect_trap("198.51.100.9:162");
  expect_trap("203.0.113.1:162");
  EXPECT_EQ(send(notification()), 0);
  EXPECT_EQ(sent(0).header, "public 1.3.6.1.4.1.32473.1 203.0.113.4 6 7 123");
  EXPECT_EQ(sent(1).header, " 1.3.6.1.4.1.32473.1 203.0.113.4 6 7 123");
  EXPECT_EQ(sent(2).header, "my ops 1.3.6.1.4.1.32473.1 203.0.113.4 6 7 123");
}

TEST_F(TrapSender, SendsNothingWhenHostSnmpIsDisabled) {
  g_daemon_debug_flag = 1;
  snmp_enabled_flag = 0;
  EXPECT_EQ(send(notification("1.3.6.1.4.1.6061")), 0);
  EXPECT_EQ(script.logs(), Lines({"3 send_trap_to_host(): Host SNMP Disabled. Cannot send trap "
                                  "thru Host.\n"}));
}

TEST_F(TrapSender, DecodesAndComplainsWithoutDestinations) {
  g_daemon_debug_flag = 1;
  trap_destinations.clear();
  trap_communities.clear();
  EXPECT_EQ(send(NotifyBuilder()), 0);
  EXPECT_EQ(script.logs(),
            Lines({"6 send_trap_to_host(): Host SNMP Enabled. Continuing to send trap thru "
                   "Host.\n",
                   "6 tvudrev: trapOid is [].\n",
                   "6 tvurev: No Mox reset string in trapOid.  Set ret to [0]\n",
                   "3 tvurev: no trap destinations defined!\n", "6 tvurev: Returning ret [1]\n"}));
}

TEST_F(TrapSender, ReportsAResetWithoutDestinationsToo) {
  trap_destinations.clear();
  trap_communities.clear();
  EXPECT_EQ(send(notification("1.3.6.1.4.1.32473.6061")), 1);
  EXPECT_EQ(script.logs(), Lines({"3 tvurev: no trap destinations defined!\n"}));
}

TEST_F(TrapSender, SendsTheTrapThatAnnouncesAResetToEveryDestination) {
  trap_destinations = {"192.0.2.7", "198.51.100.9"};
  trap_communities = {"a", "b"};
  expect_trap("192.0.2.7:162");
  expect_trap("198.51.100.9:162");
  EXPECT_EQ(send(notification("1.3.6.1.4.1.32473.6061")), 1);
  EXPECT_EQ(sent(0).header, "a 1.3.6.1.4.1.32473 203.0.113.4 6 6061 123");
  EXPECT_EQ(sent(1).header, "b 1.3.6.1.4.1.32473 203.0.113.4 6 6061 123");
}

TEST_F(TrapSender, SendsNoMoreThan25Bindings) {
  NotifyBuilder notify = notification();
  Lines expected;
  for (int i = 0; i < 30; ++i) {
    const std::string oid = "1.3.6.1.4.1.32473." + std::to_string(i);
    notify.integer(oid, i);
    if (i < 25) {
      expected.push_back(oid + " 02:" + std::to_string(i));
    }
  }
  expect_trap("192.0.2.7:162");
  EXPECT_EQ(send(notify), 0);
  EXPECT_EQ(sent().bindings, expected);
}

TEST_F(TrapSender, SendsNoTrapWithoutATrapOid) {
  EXPECT_EQ(send(NotifyBuilder().uptime(5).integer("1.3.6.1.4.1", 1)), 0);
  ASSERT_EQ(script.logs().size(), 1U);
  EXPECT_EQ(script.logs()[0].rfind("3 tvurev: ", 0), 0U) << script.logs()[0];
}

TEST_F(TrapSender, SendsNoTrapWithATrapOidThatDoesNotParse) {
  EXPECT_EQ(send(notification("1.3.6.1.4.1.4294967295")), 0);
  ASSERT_EQ(script.logs().size(), 1U);
  EXPECT_EQ(script.logs()[0].rfind("3 tvurev: ", 0), 0U) << script.logs()[0];
  EXPECT_NE(script.logs()[0].find("[1.3.6.1.4.1.-1]"), std::string::npos) << script.logs()[0];
}

TEST_F(TrapSender, SendsWhatIsLeftOfADamagedNotification) {
  expect_trap("192.0.2.7:162");
  EXPECT_EQ(send(notification()
                     .integer("1.3.6.1.4.1", 1)
                     .string_claiming(4, "1.3.6.1.4.2", 0xFFFFFFFF, text_bytes("abcd"))),
            0);
  EXPECT_EQ(sent().bindings, Lines({"1.3.6.1.4.1 02:1"}));
}

struct TrapIdentity {
  const char* trap_oid;
  const char* fields;  // enterprise, agent, generic, specific
};

class TrapMapping : public TrapSender, public testing::WithParamInterface<TrapIdentity> {};

TEST_P(TrapMapping, MakesVersion1FieldsOfTheTrapOid) {
  expect_trap("192.0.2.7:162");
  EXPECT_EQ(send(notification(GetParam().trap_oid)), 0);
  EXPECT_EQ(sent().header, std::string("public ") + GetParam().fields + " 123");
}

INSTANTIATE_TEST_SUITE_P(
    TrapOids, TrapMapping,
    testing::Values(TrapIdentity{"1.3.6.1.4.1.32473.7", "1.3.6.1.4.1.32473 203.0.113.4 6 7"},
                    TrapIdentity{"1.3.6.1.4.1.32473.0.7", "1.3.6.1.4.1.32473 203.0.113.4 6 7"},
                    TrapIdentity{"1.3.6.1.6.3.1.1.5.1", "1.3.6.1.6.3.1.1.5 203.0.113.4 0 0"},
                    TrapIdentity{"1.3.6.1.6.3.1.1.5.6", "1.3.6.1.6.3.1.1.5 203.0.113.4 5 0"},
                    TrapIdentity{"1.3.6.1.6.3.1.1.5.7", "1.3.6.1.6.3.1.1.5 203.0.113.4 6 7"}));

struct AgentAddress {
  const char* host_address;
  const char* sent;
};

class TrapAgentAddress : public TrapSender, public testing::WithParamInterface<AgentAddress> {};

TEST_P(TrapAgentAddress, IsTheHostsAddress) {
  set_host_address(GetParam().host_address);
  expect_trap("192.0.2.7:162");
  send(notification());
  EXPECT_EQ(sent().header,
            std::string("public 1.3.6.1.4.1.32473.1 ") + GetParam().sent + " 6 7 123");
}

INSTANTIATE_TEST_SUITE_P(Addresses, TrapAgentAddress,
                         testing::Values(AgentAddress{"192.0.2.10", "192.0.2.10"},
                                         AgentAddress{"", "255.255.255.255"},
                                         AgentAddress{"0.0.0.0", "0.0.0.0"},
                                         AgentAddress{"N/A", "255.255.255.255"}));

struct Uptime {
  uint32_t ticks;
  const char* sent;
};

class TrapTime : public TrapSender, public testing::WithParamInterface<Uptime> {};

TEST_P(TrapTime, IsSentAsItCame) {
  expect_trap("192.0.2.7:162");
  send(NotifyBuilder().uptime(GetParam().ticks).trap_oid("1.3.6.1.4.1.5"));
  EXPECT_EQ(sent().header, std::string("public 1.3.6.1.4.1 203.0.113.4 6 5 ") + GetParam().sent);
}

INSTANTIATE_TEST_SUITE_P(Ticks, TrapTime,
                         testing::Values(Uptime{0, "0"}, Uptime{0x7FFFFFFF, "2147483647"},
                                         Uptime{0x80000000, "2147483648"},
                                         Uptime{0xFFFFFFFF, "4294967295"}));

// Failures of one destination leave the others alone.

TEST_F(TrapSender, SkipsADestinationWithoutASession) {
  trap_destinations = {"192.0.2.7", "198.51.100.9"};
  trap_communities = {"a", "b"};
  script.socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0).fails(EMFILE);
  expect_trap("198.51.100.9:162");
  EXPECT_EQ(send(notification()), 0);
  EXPECT_EQ(script.logs(),
            Lines({"3 Unable to construct SNMP++ session, failed to send traps\n",
                   "6 tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.7] to dest [198.51.100.9] "
                   "...\n"}));
}

TEST_F(TrapSender, ReportsAFailedSendWithItsReceiverAndGoesOn) {
  trap_destinations = {"192.0.2.7", "198.51.100.9"};
  trap_communities = {"a", "b"};
  expect_session();
  script.sendto(kFd, "192.0.2.7:162").fails(ENETUNREACH);
  script.close(kFd);
  expect_trap("198.51.100.9:162");
  EXPECT_EQ(send(notification()), 0);
  ASSERT_EQ(script.logs().size(), 3U);
  EXPECT_EQ(script.logs()[1],
            "3 tvurev: Trap [1.3.6.1.4.1.32473.1.0.7] to dest [192.0.2.7] was not sent: Sending "
            "failed (Network is unreachable)\n");
}

TEST_F(TrapSender, ReportsTenFailedSendsASecondAndCountsTheRest) {
  for (int i = 0; i < 13; ++i) {
    expect_session();
    script.sendto(kFd, "192.0.2.7:162").fails(ENETUNREACH);
    script.close(kFd);
    EXPECT_EQ(send(notification()), 0);
  }
  // The documented line is never limited.
  EXPECT_EQ(
      std::count_if(script.logs().begin(), script.logs().end(),
                    [](const std::string& line) { return line.starts_with("6 tvurev: Sen"); }),
      13);
  EXPECT_EQ(script.logs().size(), 23U);
  script.pass_ms(1'000);
  say_held_complaints();
  EXPECT_EQ(script.logs().back(), "3 tvurev: traps that were not sent: 3 more like this.\n");
}

TEST_F(TrapSender, ReportsTenNotificationsWithoutIdentityASecond) {
  for (int i = 0; i < 1'000; ++i) {
    EXPECT_EQ(send(NotifyBuilder()), 0);
  }
  EXPECT_EQ(script.logs(),
            Lines(10, "3 tvurev: notification without a valid trap OID []: no trap sent\n"));
}

struct BadReceiver {
  const char* destination;
  const char* logged;  // the text in the line of ours
  const char* why;
};

constexpr const char* kSyntax = "its syntax is neither that of an IPv4 address nor of a host name";
constexpr const char* kIpv6 = "it is an IPv6 address, and only IPv4 is served";

class InvalidDestination : public TrapSender, public testing::WithParamInterface<BadReceiver> {};

TEST_P(InvalidDestination, IsReportedAndNotSentToAnotherOne) {
  const BadReceiver& bad = GetParam();
  trap_destinations = {"192.0.2.7", bad.destination, "198.51.100.9"};
  trap_communities = {"a", "b", "c"};
  expect_trap("192.0.2.7:162");
  expect_session();
  script.close(kFd);
  expect_trap("198.51.100.9:162");
  EXPECT_EQ(send(notification()), 0);
  ASSERT_EQ(script.logs().size(), 4U);
  EXPECT_EQ(script.logs()[1], std::string("6 tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.7] to "
                                          "dest [") +
                                  bad.destination + "] ...\n");
  EXPECT_EQ(script.logs()[2], std::string("3 tvurev: Trap [1.3.6.1.4.1.32473.1.0.7] to dest [") +
                                  bad.logged + "] was not sent: Invalid target address (" +
                                  bad.why + ")\n");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, InvalidDestination,
    testing::Values(BadReceiver{"", "", kSyntax}, BadReceiver{" ", " ", kSyntax},
                    BadReceiver{"%n%s", "%n%s", kSyntax},
                    BadReceiver{"300.1.1.1", "300.1.1.1", kSyntax},
                    BadReceiver{"1.2.3.4.5", "1.2.3.4.5", kSyntax},
                    BadReceiver{"a b!", "a b!", kSyntax}, BadReceiver{"<b>", "<b>", kSyntax},
                    BadReceiver{"name:0", "name:0", kSyntax},
                    BadReceiver{"\x1b[2J", "\\x1b[2J", kSyntax},
                    BadReceiver{"2001:db8::7", "2001:db8::7", kIpv6},
                    BadReceiver{"[fe80::1%vmk0]:162", "[fe80::1%vmk0]:162", kIpv6}));

TEST_F(TrapSender, WritesItsSteps) {
  g_daemon_debug_flag = 1;
  expect_trap("192.0.2.7:162");
  send(NotifyBuilder().trap_oid("1.3.6.1.4.1.5"));
  const Lines& logs = script.logs();
  EXPECT_EQ(logs.front(),
            "6 send_trap_to_host(): Host SNMP Enabled. Continuing to send trap thru Host.\n");
  ASSERT_GE(logs.size(), 4U);
  EXPECT_EQ(Lines(logs.end() - 4, logs.end()),
            Lines({"6 tvudrev: trapOid is [1.3.6.1.4.1.5].\n",
                   "6 tvurev: No Mox reset string in trapOid.  Set ret to [0]\n",
                   "6 tvurev: Sending trap [1.3.6.1.4.1.5] to dest [192.0.2.7] ...\n",
                   "6 tvurev: Returning ret [1]\n"}));
}

TEST_F(TrapSender, SendTrapsAlwaysReturns1) {
  OidText trap_oid = {};
  EXPECT_EQ(send_traps(trap_oid, 0, {}), 1);
  trap_oid = {"1.3.6.1.4.1.5"};
  expect_trap("192.0.2.7:162");
  EXPECT_EQ(send_traps(trap_oid, 0, {}), 1);
  trap_destinations.clear();
  EXPECT_EQ(send_traps(trap_oid, 0, {}), 1);
}

}  // namespace
