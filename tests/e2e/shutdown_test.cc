// SPDX-License-Identifier: Apache-2.0
// Shutdown and reboot requests of the BMC: what is announced and acknowledged,
// the timer's steps, what the host is told in the end, and the abort.
#include <unistd.h>

#include <algorithm>

#include "tests/e2e/host.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class Shutdown : public Host {
 protected:
  // Starts the daemon and stays at the start of every sleep.
  void start_with_sleeps_held() {
    start_relay();
    touch(kHoldFile);
  }

  testing::AssertionResult run_until_acknowledged(int count = 1) {
    return run_until([&, count] { return bmc.received(PacketKind::kShutdownAck) == count; });
  }

  testing::AssertionResult run_until_told(const std::string& command, size_t times = 1) {
    return run_until([&, times] {
      const std::vector<std::string> commands = host_commands();
      return static_cast<size_t>(std::ranges::count(commands, command)) >= times;
    });
  }

  // The daemon's children that are no socket proxy: timers, the oldest first.
  std::vector<pid_t> timers() const {
    std::vector<pid_t> pids = children_of(daemon.pid());
    std::erase(pids, socket_proxy());
    std::ranges::sort(pids);
    return pids;
  }
};

TEST_F(Shutdown, RebootIsAnnouncedAcknowledgedAndCarriedOutInFiveSecondSteps) {
  start_relay();
  event("reboot delay=12 reason=\"power supply\" seqno=7");
  ASSERT_TRUE(run_until_told("reboot "));
  ASSERT_TRUE(run_until_acknowledged());
  EXPECT_EQ(hex_received(PacketKind::kShutdownAck)[0], "0c 00 08 00 95 81 0d 00 00 00 00 00");
  EXPECT_THAT(log_of(daemon.pid()),
              Contains("1 tvurev: System will reboot in 12 seconds due to power supply."));
  ASSERT_EQ(timers().size(), 1U);
  ASSERT_TRUE(run_until([&] { return !is_alive(timers()[0]); }));
  EXPECT_THAT(
      log_of(timers()[0]),
      ElementsAre("6 tvurev: Shutdown timer started.", "clock: sleep 5", "clock: sleep 5",
                  "clock: sleep 5", "1 tvurev: The host is being rebooted due to power supply."));
  EXPECT_THAT(host_commands(), Not(Contains("poweroff ")));
}

TEST_F(Shutdown, PowerOffAfterOneStep) {
  start_relay();
  event("shutdown delay=5 reason=heat");
  ASSERT_TRUE(run_until_told("poweroff "));
  EXPECT_TRUE(logged("1 tvurev: System will shutdown in 5 seconds due to heat."));
  EXPECT_TRUE(logged("1 tvurev: The host is being shutdown due to heat."));
  EXPECT_EQ(times_logged("clock: sleep 5"), 1U);
  EXPECT_THAT(host_commands(), Not(Contains("reboot ")));
}

TEST_F(Shutdown, NoDelayOrLessActsAtOnce) {
  start_relay();
  event("reboot delay=0 reason=zero");
  ASSERT_TRUE(run_until_told("reboot "));
  event("reboot delay=-2147483648 reason=less");
  ASSERT_TRUE(run_until_told("reboot ", 2));
  EXPECT_TRUE(logged("1 tvurev: System will reboot in -2147483648 seconds due to less."));
  EXPECT_EQ(times_logged("clock: sleep 5"), 0U);
}

TEST_F(Shutdown, ActionAnnouncedAsShutdownRebootsWhenItIsNotZero) {
  start_relay();
  event("shutdown action=4 delay=0 reason=odd");
  ASSERT_TRUE(run_until_told("reboot "));
  EXPECT_TRUE(logged("1 tvurev: System will shutdown in 0 seconds due to odd."));
  EXPECT_TRUE(logged("1 tvurev: The host is being rebooted due to odd."));
}

TEST_F(Shutdown, AbortKillsTheTimer) {
  start_with_sleeps_held();
  event("reboot delay=30 reason=fan");
  ASSERT_TRUE(run_until_logged("clock: sleep 5"));
  ASSERT_EQ(timers().size(), 1U);
  const pid_t timer = timers()[0];
  event("abort reason=fan");
  ASSERT_TRUE(run_until_acknowledged(2));
  ASSERT_TRUE(run_until([&] { return !is_alive(timer); }));
  unlink(kHoldFile);

  EXPECT_TRUE(logged("6 tvurev: Shutdown due to fan has been Aborted."));
  EXPECT_TRUE(
      logged("6 tvurev: Terminating Shutdown timer ( PID [" + std::to_string(timer) + "])..."));
  EXPECT_EQ(times_logged("clock: sleep 5"), 1U);
  EXPECT_THAT(host_commands(), Not(Contains("reboot ")));
}

TEST_F(Shutdown, AbortWithoutATimerOnlyLogs) {
  start_relay();
  event("abort reason=nothing");
  ASSERT_TRUE(run_until_acknowledged());
  EXPECT_THAT(log_starting("6 tvurev:"),
              ElementsAre("6 tvurev: Shutdown due to nothing has been Aborted."));
}

TEST_F(Shutdown, AbortAfterTheTimerActedIsHarmless) {
  start_relay();
  event("reboot delay=0 reason=late");
  ASSERT_TRUE(run_until_told("reboot "));
  ASSERT_TRUE(run_until([&] { return timers().size() == 1 && !is_alive(timers()[0]); }));
  event("abort reason=late");
  ASSERT_TRUE(run_until_acknowledged(2));
  EXPECT_TRUE(relays());
}

TEST_F(Shutdown, SecondRequestTakesTheFirstTimersPlace) {
  start_with_sleeps_held();
  event("reboot delay=30 reason=first");
  ASSERT_TRUE(run_until_logged("clock: sleep 5"));
  event("shutdown delay=30 reason=second");
  ASSERT_TRUE(run_until_logged("clock: sleep 5", 2));
  event("abort reason=second");
  ASSERT_TRUE(run_until_acknowledged(3));
  unlink(kHoldFile);
  // Only the last one can be aborted.
  ASSERT_TRUE(run_until_told("reboot "));
  EXPECT_THAT(host_commands(), Not(Contains("poweroff ")));
}

TEST_F(Shutdown, NotificationsAreRelayedDuringTheDelay) {
  start_with_sleeps_held();
  event("reboot delay=30 reason=slow");
  ASSERT_TRUE(run_until_logged("clock: sleep 5"));
  EXPECT_TRUE(relays());
  event("abort reason=slow");
  EXPECT_TRUE(run_until_acknowledged(2));
}

TEST_F(Shutdown, FinishedTimersDoNotPileUp) {
  start_relay();
  for (size_t round = 1; round <= 5; ++round) {
    event("reboot delay=0 reason=again");
    ASSERT_TRUE(run_until_told("reboot ", round));
    ASSERT_TRUE(run_until([&] { return timers().size() == 1 && !is_alive(timers()[0]); }));
  }
}

TEST_F(Shutdown, TimerHasASessionOfItsOwn) {
  start_with_sleeps_held();
  event("reboot delay=5 reason=session");
  ASSERT_TRUE(run_until_logged("clock: sleep 5"));
  ASSERT_EQ(timers().size(), 1U);
  EXPECT_EQ(getsid(timers()[0]), timers()[0]);
}

TEST_F(Shutdown, AcknowledgementWrapsAndSetsTheRunningNumber) {
  start_relay();
  event("abort seqno=65535");
  event("log after");
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kLogAck) == 1; }));
  EXPECT_EQ(hex_received(PacketKind::kShutdownAck)[0], "0c 00 00 00 95 81 0d 00 00 00 00 00");
  EXPECT_EQ(hex_received(PacketKind::kLogAck)[0],
            "10 00 01 00 95 80 0d 00 00 00 00 00 00 00 00 00");
}

TEST_F(Shutdown, ReasonThatFillsThePacketIsBounded) {
  start_relay();
  push(ChifBuilder(0x0195).errcode(2).text(std::string(4080, 'r')).bytes());
  ASSERT_TRUE(run_until_acknowledged());
  EXPECT_TRUE(logged("6 tvurev: Shutdown due to " + std::string(4080, 'r') + " has been Aborted."));
  EXPECT_TRUE(relays());
}

}  // namespace
