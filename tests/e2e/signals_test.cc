// SPDX-License-Identifier: Apache-2.0
// Signals to the two processes in every state: who ends, with what status, and
// what stays. Sleeps that are held and polls in real time never end of themselves
// within a test's time, so an end is the signal's.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "tests/e2e/host.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kLoopEnds = "6 ortdv: tvurev: signal 15 ends the BMC loop.";
constexpr const char* kProxyEnds = "6 ortdv: tvurev: signal 15 ends the agent socket's relay.";
constexpr const char* kHostCommand = "/sbin/localcli";

class Signals : public Host {
 protected:
  // Has the daemon end by a signal, whatever it waits for.
  void expect_end(int signal = SIGTERM) {
    daemon.signal(signal);
    EXPECT_EQ(run_until_exit(), 0);
    if (socket_proxy() > 0) {
      EXPECT_TRUE(run_until([&] { return !is_alive(socket_proxy()); }));
    }
  }

  // The same once this was logged, while sleeps are held.
  void expect_end_after(std::string_view line) {
    ASSERT_TRUE(run_until_logged(line));
    expect_end();
    EXPECT_TRUE(logged(kLoopEnds));
    EXPECT_THAT(received(PacketKind::kBye), IsEmpty());
  }

  // The first command at start, which lists the interfaces, never ends.
  void hang_in_a_command() {
    replace_localcli("touch /tmp/hangs\nexec tail -f /dev/null\n");
    start_daemon();
    ASSERT_TRUE(run_until([] { return exists("/tmp/hangs"); }));
  }

  void replace_localcli(std::string_view script) {
    write_file(kHostCommand, "#!/bin/sh\n" + std::string(script));
    ASSERT_EQ(chmod(kHostCommand, 0755), 0);
  }
};

TEST_F(Signals, SigtermSaysGoodbyeAndEndsBothProcesses) {
  start_relay();
  expect_end();
  EXPECT_EQ(log_of(daemon.pid()).back(), kLoopEnds);
  EXPECT_THAT(log_of(socket_proxy()), ElementsAre(kProxyEnds));
  EXPECT_THAT(hex_received(PacketKind::kBye),
              ElementsAre("10 00 00 00 93 01 0d 00 02 00 00 00 00 00 00 00"));
  EXPECT_EQ(bmc_history().back(), "channel 15 closed");
  EXPECT_FALSE(exists(kRunningFile));
}

TEST_F(Signals, SigintDoesTheSame) {
  start_relay();
  expect_end(SIGINT);
  EXPECT_EQ(log_of(daemon.pid()).back(), "6 ortdv: tvurev: signal 2 ends the BMC loop.");
  EXPECT_EQ(received(PacketKind::kBye).size(), 1U);
}

TEST_F(Signals, GoodbyeToASilentBmcIsShort) {
  event("answer bye silent");
  start_relay({.record = "sleep,poll"});
  expect_end();
  EXPECT_TRUE(logged("clock: poll 400 -> 0"));
}

TEST_F(Signals, GoodbyeOfAStopFileIsCutShort) {
  event("answer bye silent");
  start_relay({.poll_divisor = 1});
  touch(kBmcStopFile);
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kBye) == 1; }));
  expect_end();
}

TEST_F(Signals, EndAHelloThatWaitsForMore) {
  event("answer hello more=1");
  start_daemon({.poll_divisor = 1});
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kHello) == 1; }));
  expect_end();
  EXPECT_THAT(received(PacketKind::kBye), IsEmpty());
}

TEST_F(Signals, EndAConnectWithoutAnAnswer) {
  event("answer connect silent");
  start_daemon({.poll_divisor = 1});
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kConnect) == 1; }));
  expect_end();
  EXPECT_THAT(received(PacketKind::kBye), IsEmpty());
}

TEST_F(Signals, EndThePauseWithoutAChannel) {
  on_first(PacketKind::kNvramGet, [this] { event("occupy 0-15"); });
  touch(kHoldFile);
  start_daemon();
  expect_end_after("clock: sleep 10");
}

TEST_F(Signals, EndThePauseAfterAHello) {
  event("answer hello errcode=5");
  touch(kHoldFile);
  start_daemon();
  expect_end_after("clock: sleep 10");
}

TEST_F(Signals, EndThePauseAfterAConnect) {
  event("answer connect errcode=5");
  touch(kHoldFile);
  start_daemon();
  expect_end_after("clock: sleep 15");
}

TEST_F(Signals, EndThePauseAfterAResetWithoutASecondGoodbye) {
  start_relay();
  touch(kHoldFile);
  event("reset");
  ASSERT_TRUE(run_until_logged("clock: sleep 10"));
  expect_end();
  EXPECT_EQ(received(PacketKind::kBye).size(), 1U);
}

TEST_F(Signals, EndTheWaitForARestart) {
  event("nvram KXHVM6=00");
  touch(kHoldFile);
  start_daemon();
  ASSERT_TRUE(run_until_logged("clock: sleep 120"));
  expect_end();
  EXPECT_TRUE(logged("6 ortdv: tvurev: signal 15 ends the start."));
}

TEST_F(Signals, EndTheStatusQueryOfASilentBmc) {
  event("answer status silent");
  on_first(PacketKind::kStatusQuery, [this] { daemon.signal(SIGTERM); });
  start_daemon();
  EXPECT_EQ(run_until_exit(), 0);
  EXPECT_TRUE(logged("6 ortdv: tvurev: signal 15 ends the start."));
  EXPECT_THAT(daemon.out(), IsEmpty());
}

TEST_F(Signals, EndACommandAtStartThatHangs) {
  hang_in_a_command();
  expect_end();
  EXPECT_THAT(log(), Contains(StartsWith("6 ortdv: tvurev: a signal ends it, in the middle of")));
}

TEST_F(Signals, SigintEndsACommandAtStartToo) {
  hang_in_a_command();
  expect_end(SIGINT);
  EXPECT_THAT(log(), Contains(StartsWith("6 ortdv: tvurev: a signal ends it, in the middle of")));
}

TEST_F(Signals, EndAnAcknowledgementToABusyDevice) {
  start_relay({.record = "usleep"});
  event("busy always");
  event("log text");
  ASSERT_TRUE(run_until_logged("clock: usleep 1000", 3));
  expect_end();
  EXPECT_THAT(log_starting("3 "), ElementsAre("3 ortdv: go_bye(): Failed: Writing SNMP_HELLO_BYE "
                                              "send=-1 errno =16"));
}

TEST_F(Signals, StopFileEndsAnAcknowledgementToABusyDeviceToo) {
  start_relay({.record = "usleep"});
  event("busy always");
  event("log text");
  ASSERT_TRUE(run_until_logged("clock: usleep 1000", 3));
  touch(kBmcStopFile);
  EXPECT_EQ(run_until_exit(), 1);
}

TEST_F(Signals, EndTheRelayWhileTheBmcNeverPauses) {
  start_relay({.record = ""});
  // It gets a packet whenever it has taken one, until it is gone.
  bmc.on_happening = nullptr;
  daemon.signal(SIGTERM);
  EXPECT_TRUE(run_until([&] {
    if (daemon.running() && bmc.received(PacketKind::kBye) == 0) {
      event("notify 1.3.6.1.4.1.32473.1.0.3");
    }
    return !daemon.running();
  }));
  EXPECT_EQ(daemon.status(), 0);
}

TEST_F(Signals, SighupAndSigpipeDoNoHarm) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  for (const int signal : {SIGHUP, SIGPIPE}) {
    daemon.signal(signal);
    ASSERT_EQ(kill(socket_proxy(), signal), 0);
    EXPECT_TRUE(relays());
    const size_t before = receiver.count();
    ASSERT_TRUE(agent.send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.4").bytes()));
    EXPECT_TRUE(run_until_traps(before + 1));
  }
  EXPECT_EQ(times_logged(kConnectedLine), 1U);
}

TEST_F(Signals, SighupDoesNotEndAPause) {
  event("nvram KXHVM6=00");
  touch(kHoldFile);
  start_daemon({.record = "sleep,usleep"});
  ASSERT_TRUE(run_until_logged("clock: sleep 120"));
  daemon.signal(SIGHUP);
  // What is left of it, and not another look at the restart file.
  ASSERT_TRUE(run_until([&] { return log_starting("clock: usleep 119").size() == 1; }));
}

TEST_F(Signals, SocketProxyEndsBySigtermAndTheLoopGoesOn) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  ASSERT_EQ(kill(socket_proxy(), SIGTERM), 0);
  ASSERT_TRUE(run_until([&] { return children_of(daemon.pid()).empty(); }));
  EXPECT_EQ(log_of(socket_proxy()).back(), kProxyEnds);
  EXPECT_FALSE(exists(kRunningFile));
  EXPECT_TRUE(relays());
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

TEST_F(Signals, SocketProxyThatIsKilledIsReapedAndMissed) {
  start_relay();
  ASSERT_EQ(kill(socket_proxy(), SIGKILL), 0);
  ASSERT_TRUE(run_until([&] { return children_of(daemon.pid()).empty(); }));
  EXPECT_TRUE(relays());
  EXPECT_THAT(
      log_starting("3 "),
      ElementsAre("3 ortdv: tvurev: the agent socket's relay has ended, killed by signal 9. "
                  "Notifications of host agents are lost until tvurev is started again."));
}

TEST_F(Signals, SocketProxyGoesOnWhenTheFirstProcessIsKilled) {
  start_relay();
  daemon.signal(SIGKILL);
  EXPECT_EQ(run_until_exit(), 128 + SIGKILL);
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.4").bytes()));
  EXPECT_TRUE(run_until_traps(1));
}

TEST_F(Signals, SocketProxyThatDoesNotAnswerIsNotWaitedFor) {
  start_relay();
  ASSERT_EQ(kill(socket_proxy(), SIGSTOP), 0);
  daemon.signal(SIGTERM);
  EXPECT_EQ(run_until_exit(), 0);
  ASSERT_EQ(kill(socket_proxy(), SIGCONT), 0);
  EXPECT_EQ(exit_status(socket_proxy()), 0);
}

TEST_F(Signals, DoNotTouchARunningShutdownTimer) {
  start_relay();
  touch(kHoldFile);
  event("reboot delay=5 reason=heat");
  ASSERT_TRUE(run_until_logged("clock: sleep 5"));
  expect_end();
  EXPECT_THAT(host_commands(), Not(Contains("reboot ")));
  unlink(kHoldFile);
  EXPECT_TRUE(run_until([] {
    const std::vector<std::string> commands = host_commands();
    return std::find(commands.begin(), commands.end(), "reboot ") != commands.end();
  }));
}

TEST_F(Signals, CommandsGetAnEmptyMaskAndNothingIgnored) {
  replace_localcli("exec grep -e SigBlk -e SigIgn /proc/self/status >>/tmp/signals\n");
  start_relay();
  // At start, in the first process and in the socket proxy. The two that are
  // ignored are the C library's own.
  const std::string clean = "SigBlk:\t0000000000000000\nSigIgn:\t0000000180000000\n";
  EXPECT_TRUE(run_until([&] { return read_file("/tmp/signals") == clean + clean + clean; }))
      << read_file("/tmp/signals");
}

}  // namespace
