// SPDX-License-Identifier: Apache-2.0
// What the two processes hold: descriptors and sessions.
#include <unistd.h>

#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::StartsWith;

using Descriptors = std::map<int, std::string>;

class Processes : public Host {
 protected:
  // A process's descriptors once it has this many. (It has one more while it
  // writes to the log or sends a trap.)
  Descriptors settled_descriptors(pid_t pid, size_t count) {
    Descriptors descriptors;
    EXPECT_TRUE(run_until([&] {
      descriptors = descriptors_of(pid);
      return descriptors.size() == count;
    })) << testing::PrintToString(descriptors);
    return descriptors;
  }
};

TEST_F(Processes, InheritedDescriptorsAreClosedAndTheStandardOnesKept) {
  start_relay({.extra_descriptors = 40});
  EXPECT_THAT(settled_descriptors(daemon.pid(), 4),
              ElementsAre(Pair(0, "/dev/null"), Pair(1, StartsWith("pipe:")),
                          Pair(2, StartsWith("pipe:")), Pair(3, StartsWith("socket:"))));
}

TEST_F(Processes, SocketProxyHasNothingOfItsParents) {
  start_relay({.extra_descriptors = 40});
  // Descriptor 1, closed at first, is the listening socket soon after.
  EXPECT_THAT(settled_descriptors(socket_proxy(), 2),
              ElementsAre(Pair(0, "/dev/null"), Pair(1, StartsWith("socket:"))));
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  EXPECT_THAT(settled_descriptors(socket_proxy(), 3),
              ElementsAre(Pair(0, "/dev/null"), Pair(1, StartsWith("socket:")),
                          Pair(2, StartsWith("socket:"))));
}

TEST_F(Processes, NothingReachesTheClientThroughReusedDescriptors) {
  for (const char* file : {"/tmp/tvud.text", "/tmp/chif.text", "/tmp/agentx.text"}) {
    touch(file);
  }
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.3").bytes()));
  ASSERT_TRUE(run_until_traps(1));
  ASSERT_TRUE(agent.send(Bytes(100, 0xFF)));
  ASSERT_TRUE(run_until([&] { return !log_starting("3 ortdv:").empty(); }));
  EXPECT_EQ(agent.receive(), "");
}

TEST_F(Processes, SocketProxyHasASessionOfItsOwnAndTheDaemonKeepsItsStarters) {
  start_relay();
  EXPECT_EQ(getsid(socket_proxy()), socket_proxy());
  EXPECT_EQ(getsid(daemon.pid()), getsid(0));
  EXPECT_EQ(children_of(daemon.pid()).size(), 1U);
}

TEST_F(Processes, TrapsLeaveNoDescriptorAndNoFileBehind) {
  start_relay();
  const Descriptors before = settled_descriptors(daemon.pid(), 4);
  for (size_t i = 1; i <= 20; ++i) {
    ASSERT_TRUE(relays());
  }
  EXPECT_EQ(settled_descriptors(daemon.pid(), 4), before);
  EXPECT_FALSE(exists("/var/lib/snmp/snmpapp.conf"));
  EXPECT_FALSE(exists("/.snmp"));
}

}  // namespace
