// SPDX-License-Identifier: Apache-2.0
// The receivers of the host's SNMP settings: none, several, wrong and dead ones.
// What goes wrong with one costs the others nothing.
#include <csignal>

#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kTrap = "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0";

std::string sending_to(const std::string& destination) {
  return "6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.3] to dest [" + destination +
         "] ...";
}

std::string not_sent_to(const std::string& destination, const std::string& why) {
  return "3 ortdv: tvurev: Trap [1.3.6.1.4.1.32473.1.0.3] to dest [" + destination +
         "] was not sent: " + why;
}

class TrapDestinations : public Host {
 protected:
  // Relays one notification to the receiver at 192.0.2.7. Returns the lines
  // that this logged.
  std::vector<std::string> relay_one() {
    start_relay();
    const size_t before = log().size();
    EXPECT_TRUE(relays());
    return log(before);
  }

  // The daemon ends for a piece of the file that is too long, and says so.
  void expect_fatal(const std::string& last_line) {
    start_daemon();
    constexpr int kSignalled = 128;
    EXPECT_EQ(run_until_exit(), kSignalled + SIGABRT);
    EXPECT_EQ(log().back(), last_line);
  }
};

TEST_F(TrapDestinations, UnresolvableAndDeadOnesCostTheLastNothing) {
  write_targets("nosuchhost.invalid@162 a;203.0.113.9@162 b;192.0.2.7@162 public");
  EXPECT_THAT(relay_one(), ElementsAre(sending_to("nosuchhost.invalid"),
                                       not_sent_to("nosuchhost.invalid", "Invalid target address"),
                                       sending_to("203.0.113.9"), sending_to("192.0.2.7")));
  EXPECT_THAT(receiver.traps(), ElementsAre(kTrap));
}

TEST_F(TrapDestinations, DeadOneStaysHarmlessTimeAfterTime) {
  write_targets("203.0.113.9@162 b;192.0.2.7@162 public");
  start_relay();
  for (size_t i = 1; i <= 10; ++i) {
    ASSERT_TRUE(relays());
  }
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

TEST_F(TrapDestinations, UnreachableNetworkIsReported) {
  write_targets("198.18.0.1@162 a;192.0.2.7@162 public");
  EXPECT_THAT(relay_one(),
              ElementsAre(sending_to("198.18.0.1"), not_sent_to("198.18.0.1", "Sending failed"),
                          sending_to("192.0.2.7")));
}

TEST_F(TrapDestinations, HostNameIsLookedUp) {
  write_file("/etc/hosts", "192.0.2.7 collector.example\n");
  write_targets("collector.example@162 public");
  EXPECT_THAT(relay_one(), ElementsAre(sending_to("collector.example")));
  EXPECT_THAT(receiver.traps(), ElementsAre(kTrap));
}

TEST_F(TrapDestinations, PortOfTheSettingsIsIgnored) {
  write_targets("192.0.2.7@1162 public");
  relay_one();
  EXPECT_THAT(receiver.traps(), ElementsAre(kTrap));
}

TEST_F(TrapDestinations, PercentSignsAreText) {
  touch("/tmp/tvud.text");
  write_targets("%n%s%n@162 a;192.0.2.7@162 %n%s%%");
  relay_one();
  EXPECT_THAT(receiver.traps(), ElementsAre("%n%s%% 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0"));
  EXPECT_TRUE(logged(sending_to("%n%s%n")));
  EXPECT_TRUE(logged(not_sent_to("%n%s%n", "Invalid target address")));
}

TEST_F(TrapDestinations, AreServedInTheOrderOfTheSettings) {
  write_targets("192.0.2.7@162 one;192.0.2.7@162 two;192.0.2.7@162 three");
  start_relay();
  event("notify 1.3.6.1.4.1.32473.1.0.3");
  ASSERT_TRUE(run_until_traps(3));
  EXPECT_EQ(receiver.traps()[0], "one 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0");
  EXPECT_EQ(receiver.traps()[1], "two 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0");
  EXPECT_EQ(receiver.traps()[2], "three 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0");
}

TEST_F(TrapDestinations, EntryWithoutACommunityEndsItsLineButNotTheFile) {
  write_file(kSnmpFile,
             "<enable>true</enable>\n<targets>198.51.100.9@162</targets>\n"
             "<targets>192.0.2.7@162 public</targets>\n");
  EXPECT_THAT(relay_one(), ElementsAre(sending_to("192.0.2.7")));
}

TEST_F(TrapDestinations, BinaryRubbishInTheSettingsIsReadPast) {
  std::string rubbish(10000, '\xff');
  rubbish += "\n" + std::string(20, '\0') + "\n<targets>\n</targets><targets>@</targets>\n";
  write_file(kSnmpFile,
             rubbish + "<enable>true</enable>\n<targets>192.0.2.7@162 public</targets>\n");
  relay_one();
  EXPECT_THAT(receiver.traps(), ElementsAre(kTrap));
}

TEST_F(TrapDestinations, DestinationsAtTheLimitAreKept) {
  // 32 and 128 characters; the destination is no address, but it is kept whole.
  const std::string destination(32, 'd');
  const std::string community(128, 'c');
  write_targets(destination + "@162 x;192.0.2.7@162 " + community);
  EXPECT_THAT(relay_one(), ElementsAre(sending_to(destination),
                                       not_sent_to(destination, "Invalid target address"),
                                       sending_to("192.0.2.7")));
  EXPECT_THAT(receiver.traps(), ElementsAre(community + " 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0"));
}

TEST_F(TrapDestinations, OverlongDestinationIsFatal) {
  write_targets("192.0.2.7@162 public;" + std::string(33, 'd') + "@162 x");
  expect_fatal(
      "3 ortdv: snmpEnabled(): /etc/vmware/snmp.xml: a trap destination of 33 characters is "
      "longer than 32. Mend the file and start again.");
}

TEST_F(TrapDestinations, OverlongCommunityIsFatal) {
  write_targets("192.0.2.7@162 " + std::string(129, 'c'));
  expect_fatal(
      "3 ortdv: snmpEnabled(): /etc/vmware/snmp.xml: a community of 129 characters is longer "
      "than 128. Mend the file and start again.");
}

TEST_F(TrapDestinations, OverlongTargetsTextIsFatal) {
  write_targets(std::string(2048, ' '));
  expect_fatal(
      "3 ortdv: snmpEnabled(): /etc/vmware/snmp.xml: a targets text of 2048 characters is longer "
      "than 2047. Mend the file and start again.");
}

}  // namespace
