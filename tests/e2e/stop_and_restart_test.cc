// SPDX-License-Identifier: Apache-2.0
// The stop files: who obeys which, when, and with what status.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kBmcStopSeen =
    "6 ortdv: proxy_bmc_rev: Detected request to disable and stop TVU Reverse mode for Mox.";
constexpr const char* kBmcStopping = "6 ortdv: tvud: BMC Reverse Proxy Service shutting down...";
constexpr const char* kOrtStopSeen =
    "6 ortdv: tvu_rev_proxy: Detected request to disable and stop TVU Reverse mode for ORT.";
constexpr const char* kOrtStopping = "6 ortdv: [tvud]: TVU Reverse Proxy Service shutting down...";

class StopAndRestart : public Host {
 protected:
  // Ends the daemon, so that what it left behind can be reaped.
  void stop_bmc_loop() {
    touch(kBmcStopFile);
    ASSERT_EQ(run_until_exit(), 1);
  }
};

TEST_F(StopAndRestart, BmcStopFileEndsTheDaemonWithAGoodbyeAndStatusOne) {
  start_relay();
  touch(kBmcStopFile);
  EXPECT_EQ(run_until_exit(), 1);
  const std::vector<std::string> lines = log_of(daemon.pid());
  ASSERT_GE(lines.size(), 2U);
  EXPECT_THAT(std::vector(lines.end() - 2, lines.end()), ElementsAre(kBmcStopSeen, kBmcStopping));
  EXPECT_THAT(hex_received(PacketKind::kBye),
              ElementsAre("10 00 00 00 93 01 0d 00 02 00 00 00 00 00 00 00"));
  EXPECT_EQ(bmc_history().back(), "channel 15 closed");
  EXPECT_FALSE(exists(kBmcStopFile));
}

TEST_F(StopAndRestart, SocketProxyOutlivesTheBmcLoop) {
  start_relay();
  stop_bmc_loop();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.3").bytes()));
  ASSERT_TRUE(run_until_traps(1));
  touch(kOrtStopFile);
  EXPECT_EQ(exit_status(socket_proxy()), 1);
}

TEST_F(StopAndRestart, ADirectoryOfThatNameIsARequestToo) {
  do_not_stop();
  start_relay();
  ASSERT_EQ(mkdir(kBmcStopFile, 0700), 0);
  EXPECT_EQ(run_until_exit(), 1);
  EXPECT_TRUE(exists(kBmcStopFile));  // which unlink does not remove
}

TEST_F(StopAndRestart, OrtStopFileEndsTheSocketProxyWhileAClientIsConnected) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  touch(kOrtStopFile);
  ASSERT_TRUE(run_until([&] { return !is_alive(socket_proxy()); }));
  EXPECT_THAT(log_of(socket_proxy()), ElementsAre(kClientLine, kOrtStopSeen, kOrtStopping));
  EXPECT_FALSE(exists(kOrtStopFile));

  // The BMC loop goes on without it, and does not keep a zombie of it. It has no
  // complaint: the proxy was told to end.
  EXPECT_TRUE(relays());
  EXPECT_TRUE(run_until([&] { return children_of(daemon.pid()).empty(); }));
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

TEST_F(StopAndRestart, OrtStopFileIsSeenAtTheEndOfThePauseAfterAHangUp) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  touch(kHoldFile);
  agent.hang_up();
  ASSERT_TRUE(run_until_logged("clock: sleep 30"));
  touch(kOrtStopFile);
  EXPECT_TRUE(is_alive(socket_proxy()));
  unlink(kHoldFile);
  ASSERT_TRUE(run_until([&] { return !is_alive(socket_proxy()); }));
  EXPECT_THAT(log_of(socket_proxy()),
              ElementsAre(kClientLine, "clock: sleep 30", kOrtStopSeen, kOrtStopping));
  EXPECT_FALSE(exists(kRunningFile));
}

TEST_F(StopAndRestart, OrtStopFileIsNotLookedAtWithoutAClient) {
  start_relay();
  touch(kOrtStopFile);
  // The BMC loop, which looks ten times a second, has looked many times.
  for (size_t i = 1; i <= 3; ++i) {
    ASSERT_TRUE(relays());
  }
  EXPECT_TRUE(is_alive(socket_proxy()));
  EXPECT_TRUE(exists(kOrtStopFile));
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until([&] { return !is_alive(socket_proxy()); }));
  EXPECT_THAT(log_of(socket_proxy()), ElementsAre(kClientLine, kOrtStopSeen, kOrtStopping));
}

TEST_F(StopAndRestart, RestartFileIsNothingToADaemonThatRelays) {
  start_relay();
  touch(kRestartFile);
  ASSERT_TRUE(relays());
  touch(kBmcStopFile);
  EXPECT_EQ(run_until_exit(), 1);
  EXPECT_TRUE(exists(kRestartFile));
}

TEST_F(StopAndRestart, StartedAgainItServesAsBeforeAndTheEarlierSocketProxyLeaves) {
  start_relay();
  stop_bmc_loop();
  // As a supervisor does; the earlier run's socket proxy is still there.
  const pid_t earlier = socket_proxy();
  unlink(kRunningFile);
  start_daemon();
  ASSERT_TRUE(run_until_logged(kConnectedLine, 2));
  ASSERT_TRUE(run_until([] { return exists(kRunningFile); }));
  EXPECT_EQ(exit_status(earlier), 0);
  EXPECT_TRUE(exists(kRunningFile));  // the new one's
  ASSERT_TRUE(relays());
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.4").bytes()));
  EXPECT_TRUE(run_until_traps(2));
  do_not_stop();
}

}  // namespace
