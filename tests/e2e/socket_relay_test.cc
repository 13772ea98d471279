// SPDX-License-Identifier: Apache-2.0
// The local socket, where a host agent hands over its own notifications: one
// client at a time, one received piece one packet.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kHungUp = "6 ortdv: reverse mode: tvu_rev_proxy_ort: HUP exit. socket exit";

class SocketRelay : public Host {
 protected:
  static Bytes notification(int specific) {
    return NotifyBuilder()
        .uptime(5)
        .trap_oid("1.3.6.1.4.1.32473.1.0." + std::to_string(specific))
        .bytes();
  }
  static std::string trap(int specific) {
    return "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/" + std::to_string(specific) + " @5";
  }
};

TEST_F(SocketRelay, NotificationReachesEveryReceiver) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(NotifyBuilder()
                             .uptime(5)
                             .trap_oid("1.3.6.1.4.1.32473.1.0.3")
                             .octets("1.3.6.1.4.1.32473.2.1", "disk 2")
                             .bytes()));
  ASSERT_TRUE(run_until([&] { return receiver.count() == 1 && other_receiver.count() == 1; }));
  EXPECT_THAT(receiver.traps(), ElementsAre("public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @5 "
                                            "1.3.6.1.4.1.32473.2.1=\"disk 2\""));
  EXPECT_THAT(other_receiver.traps(), ElementsAre("ops 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @5 "
                                                  "1.3.6.1.4.1.32473.2.1=\"disk 2\""));
  EXPECT_THAT(log_of(socket_proxy()),
              ElementsAre(kClientLine,
                          "6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.3] to dest "
                          "[192.0.2.7] ...",
                          "6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.3] to dest "
                          "[198.51.100.9] ..."));
}

TEST_F(SocketRelay, BothRoadsServeAtTheSameTime) {
  start_relay();
  LocalClient agent = connected_client();
  for (int i = 1; i <= 20; ++i) {
    ASSERT_TRUE(agent.send(notification(i)));
    ASSERT_TRUE(run_until_traps(static_cast<size_t>(2 * i - 1)));
    event("notify 1.3.6.1.4.1.32473.1.0.100");
    ASSERT_TRUE(run_until_traps(static_cast<size_t>(2 * i)));
  }
  EXPECT_EQ(receiver.traps()[38], trap(20));
}

TEST_F(SocketRelay, PduOfAnyTypeIsForwarded) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(NotifyBuilder().pdu_type(1).trap_oid("1.3.6.1.4.1.32473.1.0.3").bytes()));
  EXPECT_TRUE(run_until_traps(1));
}

TEST_F(SocketRelay, ResetAnnouncementDoesNotTouchTheBmcSession) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(notification(6061)));
  ASSERT_TRUE(run_until_traps(1));
  ASSERT_TRUE(agent.send(notification(2)));
  ASSERT_TRUE(run_until_traps(2));
  event("notify 1.3.6.1.4.1.32473.1.0.3 uptime=5");
  ASSERT_TRUE(run_until_traps(3));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(6061), trap(2), trap(3)));
  EXPECT_EQ(bmc.received(PacketKind::kBye), 0);
}

TEST_F(SocketRelay, HangUpRemovesTheRunningFileAndPausesThirtySeconds) {
  touch("/tmp/tvud.text");
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  touch(kHoldFile);
  agent.hang_up();
  ASSERT_TRUE(run_until_logged("clock: sleep 30"));
  EXPECT_FALSE(exists(kRunningFile));
  EXPECT_TRUE(logged(kHungUp));
  unlink(kHoldFile);
  ASSERT_TRUE(run_until([] { return exists(kRunningFile); }));

  agent = connected_client();
  ASSERT_TRUE(agent.send(notification(4)));
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(4)));
}

TEST_F(SocketRelay, WriteOf4096BytesArrivesAs4080And16) {
  touch("/tmp/tvud.text");
  start_relay();
  LocalClient agent = connected_client();
  Bytes bytes = notification(3);
  bytes.resize(4096, 0);
  ASSERT_TRUE(agent.send(bytes));
  ASSERT_TRUE(run_until_logged("6 ortdv: proxy_ortd_trap: received 16 bytes . . ."));
  ASSERT_TRUE(agent.send(notification(4)));
  ASSERT_TRUE(run_until_traps(2));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(3), trap(4)));
  EXPECT_THAT(log_starting("6 ortdv: proxy_ortd_trap: received "),
              ElementsAre("6 ortdv: proxy_ortd_trap: received 4080 bytes . . .",
                          "6 ortdv: proxy_ortd_trap: received 16 bytes . . .",
                          "6 ortdv: proxy_ortd_trap: received " +
                              std::to_string(notification(4).size()) + " bytes . . ."));
}

TEST_F(SocketRelay, SecondClientWaitsUntilTheFirstHasGoneAndThePauseIsOver) {
  start_relay();
  LocalClient first = connected_client();
  LocalClient second = connected_client();
  ASSERT_TRUE(second.send(notification(2)));
  ASSERT_TRUE(first.send(notification(1)));
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(1)));
  first.hang_up();
  ASSERT_TRUE(run_until_traps(2));
  EXPECT_EQ(receiver.traps()[1], trap(2));
  std::vector<std::string> lines = log_of(socket_proxy());
  std::erase_if(lines,
                [](const std::string& line) { return line.starts_with("6 ortdv: tvurev:"); });
  EXPECT_THAT(lines, ElementsAre(kClientLine, "clock: sleep 30", kClientLine));
}

TEST_F(SocketRelay, ClientsBeyondTheFirstAreServedInTurn) {
  start_relay();
  std::vector<LocalClient> clients(5);
  for (size_t i = 0; i < clients.size(); ++i) {
    clients[i] = connected_client();
    ASSERT_TRUE(clients[i].send(notification(static_cast<int>(i))));
    clients[i].hang_up();
  }
  ASSERT_TRUE(run_until_traps(5));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(0), trap(1), trap(2), trap(3), trap(4)));
  ASSERT_TRUE(run_until_logged("clock: sleep 30", 5));
}

TEST_F(SocketRelay, ClientThatOnlyStoppedSendingDoesNotMakeTheLoopSpin) {
  start_relay({.record = "sleep,poll"});
  LocalClient agent = connected_client();
  ASSERT_TRUE(run_until_logged(kClientLine));
  agent.finish_sending();
  const auto polls = [&] {
    std::vector<std::string> lines = log_of(socket_proxy());
    // Behind the polls of the listening socket.
    lines.erase(lines.begin(), std::ranges::find(lines, kClientLine));
    return std::vector<std::string>(std::ranges::find(lines, "clock: poll 1000 -> 1"), lines.end());
  };
  ASSERT_TRUE(run_until([&] { return polls().size() >= 5; }));
  const std::vector<std::string> seen = polls();
  // Its end of stream is read once; then every poll waits its whole second.
  EXPECT_THAT(std::vector(seen.begin(), seen.begin() + 5),
              ElementsAre("clock: poll 1000 -> 1", "clock: poll 1000 -> 0", "clock: poll 1000 -> 0",
                          "clock: poll 1000 -> 0", "clock: poll 1000 -> 0"));
  agent.hang_up();
  EXPECT_TRUE(run_until_logged("clock: sleep 30"));
}

TEST_F(SocketRelay, NextClientAfterOneThatOnlyStoppedSendingIsServed) {
  start_relay();
  LocalClient quiet = connected_client();
  quiet.finish_sending();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(notification(8)));
  quiet.hang_up();
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(8)));
}

TEST_F(SocketRelay, RubbishFromAClientDoesNotCostTheConnection) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(Bytes(1, 0xFF)));
  ASSERT_TRUE(
      run_until_logged("3 ortdv: tvurev: notification without a valid trap OID []: "
                       "no trap sent"));
  ASSERT_TRUE(agent.send(Bytes(4080, 0xFF)));
  ASSERT_TRUE(
      run_until_logged("3 ortdv: tvurev: notification without a valid trap OID []: "
                       "no trap sent",
                       2));
  ASSERT_TRUE(agent.send(notification(3)));
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(3)));
}

// The sum of the lines and of those that were counted instead.
size_t complaints(const std::vector<std::string>& lines, const std::string& line,
                  const std::string& about) {
  size_t sum = 0;
  for (const std::string& each : lines) {
    const std::string count = "3 ortdv: " + about + ": ";
    if (each == line) {
      ++sum;
    } else if (each.starts_with(count)) {
      sum += std::stoul(each.substr(count.size()));
    }
  }
  return sum;
}

TEST_F(SocketRelay, FloodOfRubbishIsCountedAndNotWrittenDown) {
  start_relay();
  LocalClient agent = connected_client();
  constexpr size_t kPieces = 2'000;
  for (size_t i = 0; i < kPieces; ++i) {
    ASSERT_TRUE(run_until([&] { return agent.send(Bytes(4080, 0xFF)); }));
  }
  ASSERT_TRUE(run_until([&] { return agent.send(notification(3)); }));
  ASSERT_TRUE(run_until_traps(1));
  // The last counts come when their second is over.
  ASSERT_TRUE(run_until([&] {
    return complaints(log(),
                      "3 ortdv: tvurev: notification without a valid trap OID []: no trap sent",
                      "tvurev: notifications without a valid trap OID") == kPieces;
  }));
  EXPECT_LT(log_starting("3 ").size(), kPieces / 10);
}

TEST_F(SocketRelay, SecondNotificationOfOneWriteIsReportedAndDropped) {
  start_relay();
  LocalClient agent = connected_client();
  Bytes bytes = notification(3);
  const Bytes second = notification(4);
  bytes.insert(bytes.end(), second.begin(), second.end());
  ASSERT_TRUE(agent.send(bytes));
  ASSERT_TRUE(run_until_traps(1));
  ASSERT_TRUE(agent.send(notification(5)));
  ASSERT_TRUE(run_until_traps(2));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap(3), trap(5)));
  const std::string size = std::to_string(second.size());
  EXPECT_THAT(log_starting("3 "),
              ElementsAre("3 ortdv: proxy_ortd_trap(): " + size +
                          " bytes behind a notification of " + size +
                          " were received with it and are dropped. Write the next one when "
                          "the last one has been read."));
}

TEST_F(SocketRelay, LeftOverSocketOfAnEarlierRunIsReplaced) {
  ASSERT_EQ(mkdir("/opt/ortdv/sockets/agentx", 0700), 0);
  write_file("/opt/ortdv/sockets/agentx/tvud", "old");
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(notification(3)));
  EXPECT_TRUE(run_until_traps(1));
}

TEST_F(SocketRelay, WithoutASocketTheBmcIsStillServed) {
  // A file in the place of the directory: it exists, but nothing can be in it.
  write_file("/opt/ortdv/sockets/agentx", "");
  touch("/tmp/tvud.text");
  start_daemon();
  ASSERT_TRUE(run_until_logged("6 ortdv: reverse_mode socket bind failed."));
  ASSERT_TRUE(run_until_logged(kConnectedLine));
  EXPECT_TRUE(relays());
  EXPECT_FALSE(exists(kRunningFile));
}

}  // namespace
