// SPDX-License-Identifier: Apache-2.0
// What adds up or spins over the years: restarts, timers that hold channels, a
// device that hangs up or fails at once.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "tests/e2e/host.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class Endurance : public Host {
 protected:
  // The flags of a descriptor as proc(5) shows them.
  static unsigned long flags_of(pid_t pid, int fd) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/fdinfo/" + std::to_string(fd));
    std::string word;
    while (file >> word) {
      if (word == "flags:") {
        file >> word;
        return std::stoul(word, nullptr, 8);
      }
    }
    return 0;
  }
};

TEST_F(Endurance, TenRestartsLeaveNoOrphan) {
  std::vector<pid_t> proxies;
  for (size_t run = 1; run <= 10; ++run) {
    unlink(kRunningFile);
    start_relay();
    ASSERT_TRUE(run_until([&] { return !children_of(daemon.pid()).empty(); }));
    proxies.push_back(children_of(daemon.pid()).front());
    ASSERT_TRUE(run_until_logged(kConnectedLine, run));
    touch(kBmcStopFile);
    ASSERT_EQ(run_until_exit(), 1);
  }
  const pid_t last = proxies.back();
  proxies.pop_back();
  for (const pid_t proxy : proxies) {
    EXPECT_EQ(exit_status(proxy), 0);
  }
  EXPECT_TRUE(is_alive(last));
  EXPECT_TRUE(exists(kRunningFile));
  EXPECT_THAT(children_of(getpid()), ElementsAre(last));
}

TEST_F(Endurance, ReplacedSocketProxyServesItsClientFirst) {
  start_relay();
  const pid_t earlier = socket_proxy();
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  touch(kBmcStopFile);
  ASSERT_EQ(run_until_exit(), 1);
  unlink(kRunningFile);
  start_relay();
  ASSERT_TRUE(run_until_logged(kConnectedLine, 2));
  ASSERT_TRUE(agent.send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.4").bytes()));
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_TRUE(is_alive(earlier));
  agent.hang_up();
  EXPECT_EQ(exit_status(earlier), 0);
  EXPECT_TRUE(exists(kRunningFile));
  EXPECT_EQ(times_logged("clock: sleep 30"), 0U);
}

TEST_F(Endurance, SeventeenShutdownTimersHoldNoChannel) {
  start_relay({.record = ""});
  for (size_t round = 1; round <= 17; ++round) {
    event("reboot delay=2000000000 reason=again");
    ASSERT_TRUE(run_until_logged("6 tvurev: Shutdown timer started.", round));
    event("hangup");
    ASSERT_TRUE(run_until_logged(kConnectedLine, round + 1));
  }
  EXPECT_EQ(times_logged("6 ortdv: [tvud]: BMC device is "
                         "/vmfs/devices/char/vmkdriver/zemox-d0ccb15"),
            18U);
  for (const pid_t child : children_of(daemon.pid())) {
    if (child != socket_proxy()) {
      kill(child, SIGKILL);
    }
  }
}

TEST_F(Endurance, AbortedTimerLeavesNoZombie) {
  start_relay();
  touch(kHoldFile);
  event("reboot delay=30 reason=fan");
  ASSERT_TRUE(run_until_logged("clock: sleep 5"));
  ASSERT_EQ(children_of(daemon.pid()).size(), 2U);
  event("abort reason=fan");
  EXPECT_TRUE(
      run_until([&] { return children_of(daemon.pid()) == std::vector<pid_t>{socket_proxy()}; }));
  unlink(kHoldFile);
}

TEST_F(Endurance, BmcThatHangsUpOnEverySessionIsLeftAloneForTenSeconds) {
  start_relay();
  for (size_t session = 1; session <= 5; ++session) {
    event("hangup");
    ASSERT_TRUE(run_until_logged(kConnectedLine, session + 1));
  }
  EXPECT_EQ(times_logged("clock: sleep 10"), 3U);
  EXPECT_EQ(times_logged("3 ortdv: tvurev: the BMC hung up on three sessions in a row. After each "
                         "such one 10 seconds pass from now on."),
            1U);
  EXPECT_TRUE(relays());
}

TEST_F(Endurance, ReadThatFailsForEverIsTriedOnceASecond) {
  start_relay();
  event("fail read EIO times=always");
  event("notify 1.3.6.1.4.1.32473.1.0.3");
  ASSERT_TRUE(run_until_logged("clock: sleep 1", 3));
  EXPECT_EQ(times_logged("3 ortdv: tvurev: reading from the BMC channel keeps failing "
                         "(Input/output error). It is tried once a second from now on."),
            1U);
  event("fail read EIO times=off");
  EXPECT_TRUE(run_until_traps(1));
  EXPECT_TRUE(relays());
}

TEST_F(Endurance, AgentSocketThatCannotBeBoundIsAnErrorInTheLog) {
  ASSERT_EQ(mkdir("/opt/ortdv/sockets/agentx", 0700), 0);
  ASSERT_EQ(mkdir("/opt/ortdv/sockets/agentx/tvud", 0700), 0);
  start_daemon();
  ASSERT_TRUE(run_until_logged(kConnectedLine));
  ASSERT_TRUE(run_until([&] { return children_of(daemon.pid()).empty(); }));
  EXPECT_THAT(log_starting("3 "),
              ElementsAre("3 ortdv: tvurev: bind() of the agent socket "
                          "/opt/ortdv/sockets/agentx/tvud failed: Address already in use. "
                          "Notifications of host agents are lost until tvurev is started again."));
  EXPECT_TRUE(relays());
}

TEST_F(Endurance, ChannelListenerAndClientAreClosedInCommands) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  EXPECT_NE(flags_of(daemon.pid(), 3) & O_CLOEXEC, 0U);
  EXPECT_NE(flags_of(socket_proxy(), 1) & O_CLOEXEC, 0U);
  EXPECT_NE(flags_of(socket_proxy(), 2) & O_CLOEXEC, 0U);
}

TEST_F(Endurance, MarkerFilesCanBeWrittenByTheirOwnerOnly) {
  const mode_t before = umask(0);
  start_relay();
  umask(before);
  struct stat status = {};
  for (const char* path : {kRunningFile, kStatusFile}) {
    ASSERT_EQ(stat(path, &status), 0) << path;
    EXPECT_EQ(status.st_mode & 0777, 0644U) << path;
  }
}

}  // namespace
