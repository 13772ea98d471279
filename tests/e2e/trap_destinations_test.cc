// SPDX-License-Identifier: Apache-2.0
// The receivers of the host's SNMP settings: none, several, wrong and dead ones.
// What goes wrong with one costs the others nothing.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <csignal>

#include "base/descriptor.h"
#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSyntax =
    "Invalid target address (its syntax is neither that of an IPv4 address nor of a host name)";
constexpr const char* kUnknownName =
    "Invalid target address (its name does not resolve: Name or service not known)";

constexpr const char* kTrap = "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0";

std::string sending_to(const std::string& destination) {
  return "6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.3] to dest [" + destination +
         "] ...";
}

std::string unresolved(const std::string& name, const std::string& why) {
  return "3 ortdv: tvurev: trap receiver [" + name + "] does not resolve: " + why +
         ". It gets no traps.";
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
  EXPECT_THAT(
      relay_one(),
      ElementsAre(unresolved("nosuchhost.invalid", "Name or service not known"),
                  sending_to("nosuchhost.invalid"), not_sent_to("nosuchhost.invalid", kUnknownName),
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
              ElementsAre(sending_to("198.18.0.1"),
                          not_sent_to("198.18.0.1", "Sending failed (Network is unreachable)"),
                          sending_to("192.0.2.7")));
}

TEST_F(TrapDestinations, HostNameIsLookedUp) {
  write_file("/etc/hosts", "192.0.2.7 collector.example\n");
  write_targets("collector.example@162 public");
  EXPECT_THAT(relay_one(), ElementsAre(sending_to("collector.example")));
  EXPECT_THAT(receiver.traps(), ElementsAre(kTrap));
}

// A name server that takes every question and answers none.
class SilentNameServer {
 public:
  explicit SilentNameServer(const char* address)
      : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_port = htons(53);
    name.sin_addr.s_addr = inet_addr(address);
    EXPECT_EQ(bind(fd_.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    write_file("/etc/nsswitch.conf", "hosts: files dns\n");
    write_file("/etc/resolv.conf", std::string("nameserver ") + address + "\n");
  }

  // The questions since the last call.
  int questions() const {
    char byte = 0;
    int count = 0;
    while (recv(fd_.get(), &byte, sizeof byte, 0) >= 0) {
      ++count;
    }
    return count;
  }

 private:
  Descriptor fd_;
};

TEST_F(TrapDestinations, NameThatNobodyAnswersForIsAskedOnceForManyTraps) {
  const SilentNameServer name_server("203.0.113.5");
  write_targets("collector.example@162 a;192.0.2.7@162 public");
  constexpr const char* kWhy = "no answer within a second";
  const std::string not_sent =
      not_sent_to("collector.example",
                  std::string("Invalid target address (its name does not resolve: ") + kWhy + ")");
  EXPECT_THAT(relay_one(),
              ElementsAre(unresolved("collector.example", kWhy), sending_to("collector.example"),
                          not_sent, sending_to("192.0.2.7")));
  EXPECT_GE(name_server.questions(), 1);
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(relays());
  }
  EXPECT_EQ(name_server.questions(), 0);
  EXPECT_EQ(times_logged(unresolved("collector.example", kWhy)), 1U);
  EXPECT_EQ(times_logged(not_sent), 6U);
}

TEST_F(TrapDestinations, NameInTheHostsFileNeedsNoNameServer) {
  const SilentNameServer name_server("203.0.113.5");
  write_file("/etc/hosts", "192.0.2.7 collector.example\n");
  write_targets("collector.example@162 public");
  start_relay();
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(relays());
  }
  EXPECT_EQ(name_server.questions(), 0);
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

TEST_F(TrapDestinations, NoneThatIsUsableIsReportedAtTheStart) {
  write_targets("2001:db8::7@162 public;%n@162 x");
  start_relay();
  EXPECT_THAT(log_starting("3 "),
              ElementsAre("3 ortdv: snmpEnabled(): /etc/vmware/snmp.xml names no usable trap "
                          "target: no trap will reach anyone. Mend the file and start again."));
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
  EXPECT_TRUE(logged(not_sent_to("%n%s%n", kSyntax)));
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
  EXPECT_THAT(
      relay_one(),
      ElementsAre(unresolved(destination, "Name or service not known"), sending_to(destination),
                  not_sent_to(destination, kUnknownName), sending_to("192.0.2.7")));
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
