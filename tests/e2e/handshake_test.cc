// SPDX-License-Identifier: Apache-2.0
// Hello, connect and goodbye: retries, pauses, leniency, and the way back to a
// session after each kind of failure.
#include <unistd.h>

#include <algorithm>

#include "tests/e2e/host.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kDeviceLine =
    "6 ortdv: [tvud]: BMC device is /vmfs/devices/char/vmkdriver/zemox-d0ccb15";
constexpr const char* kChannelLine = "6 ortdv: [tvud]: BMC Reverse channel is [3].";
constexpr const char* kHello = "10 00 00 00 93 01 0d 00 01 00 00 00 00 00 00 00";
constexpr const char* kConnect = "10 00 00 00 93 01 0d 00 03 00 00 00 00 00 00 00";
constexpr const char* kBye = "10 00 00 00 93 01 0d 00 02 00 00 00 00 00 00 00";

class Handshake : public Host {
 protected:
  // The daemon's log from the opening of its channel on.
  std::vector<std::string> log_from_device() const {
    const std::vector<std::string> lines = log_of(daemon.pid());
    return {std::ranges::find(lines, kDeviceLine), lines.end()};
  }

  testing::AssertionResult run_until_connected(size_t times = 1) {
    return run_until_logged(kChannelLine, times);
  }
};

TEST_F(Handshake, SaysHelloAndConnectOnce) {
  start_relay();
  EXPECT_THAT(hex_received(PacketKind::kHello), ElementsAre(kHello));
  EXPECT_THAT(hex_received(PacketKind::kConnect), ElementsAre(kConnect));
}

TEST_F(Handshake, SilentBmcIsGreetedAfterThirtyPollsOfTenSeconds) {
  event("answer hello silent");
  event("answer connect silent");
  start_daemon({.poll_divisor = 0, .record = "sleep,poll"});
  ASSERT_TRUE(run_until_connected());

  std::vector<std::string> expected = {kDeviceLine};
  expected.insert(expected.end(), 60, "clock: poll 10000 -> 0");  // 30 for each request
  expected.insert(expected.end(), {kConnectedLine, kChannelLine});
  const std::vector<std::string> lines = log_from_device();
  ASSERT_GE(lines.size(), expected.size());
  EXPECT_EQ(std::vector(lines.begin(), lines.begin() + 63), expected);
  EXPECT_EQ(hex_received(PacketKind::kHello).size(), 1U);
  EXPECT_EQ(received(PacketKind::kConnect).size(), 1U);
}

TEST_F(Handshake, SilentBmcCanStillRelayAndIsNotWaitedForAtTheEnd) {
  event("answer hello silent");
  event("answer connect silent");
  event("answer bye silent");
  do_not_stop();
  start_daemon({.poll_divisor = 0, .record = "sleep,poll"});
  ASSERT_TRUE(run_until_connected());
  ASSERT_TRUE(relays());
  touch(kBmcStopFile);
  EXPECT_EQ(run_until_exit(), 1);
  EXPECT_TRUE(logged("clock: poll 1000000 -> 0"));
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

TEST_F(Handshake, ThreeFailedHellosLeadToAConnectOnTheClosedChannel) {
  event("answer hello errcode=5 times=3");
  start_daemon();
  ASSERT_TRUE(run_until_connected());

  constexpr const char* kFailed = "3 ortdv: do_hello_rev(): Failed: read()<errcode error=5";
  EXPECT_THAT(log_from_device(),
              ElementsAre(kDeviceLine, kFailed, "clock: sleep 10", kFailed, "clock: sleep 10",
                          kFailed, "clock: sleep 10",
                          "3 ortdv: do_connect_rev(): Failed: Writing ZEMOX "
                          "TVU_HELLO_CONNECT errno =9",
                          "clock: sleep 15", kDeviceLine, kConnectedLine, kChannelLine));
  // Every hello takes the next number; connect has none.
  EXPECT_THAT(hex_received(PacketKind::kHello),
              ElementsAre(kHello, "10 00 01 00 93 01 0d 00 01 00 00 00 00 00 00 00",
                          "10 00 02 00 93 01 0d 00 01 00 00 00 00 00 00 00",
                          "10 00 03 00 93 01 0d 00 01 00 00 00 00 00 00 00"));
  EXPECT_EQ(received(PacketKind::kConnect).size(), 1U);
}

TEST_F(Handshake, OneFailedHelloIsRepeatedAfterTenSeconds) {
  event("answer hello size=16 times=1");
  start_daemon();
  ASSERT_TRUE(run_until_connected());
  EXPECT_THAT(log_from_device(),
              ElementsAre(kDeviceLine,
                          "3 ortdv: do_hello_rev(): Failed: TVU_HELLO_REV response read() < len 16",
                          "clock: sleep 10", kConnectedLine, kChannelLine));
}

TEST_F(Handshake, FailedConnectClosesAndPausesFifteenSeconds) {
  event("answer connect errcode=7 times=1");
  start_daemon();
  ASSERT_TRUE(run_until_connected());
  EXPECT_THAT(log_from_device(),
              ElementsAre(kDeviceLine, "3 ortdv: do_connect_rev(): Failed: read()<errcode error=7",
                          "clock: sleep 15", kDeviceLine, kConnectedLine, kChannelLine));
  EXPECT_EQ(hex_received(PacketKind::kHello).size(), 2U);
}

TEST_F(Handshake, ShortConnectReplyFails) {
  event("answer connect size=15 times=1");
  start_daemon();
  ASSERT_TRUE(run_until_connected());
  EXPECT_TRUE(
      logged("3 ortdv: do_connect_rev(): Failed: TVU_HELLO_CONNECT response read()< len 15"));
  EXPECT_EQ(times_logged("clock: sleep 15"), 1U);
}

TEST_F(Handshake, FailedReadsAreReported) {
  for (const PacketKind kind : {PacketKind::kHello, PacketKind::kConnect}) {
    on_first(kind, [this] { event("fail read EIO"); });
  }
  start_daemon();
  ASSERT_TRUE(run_until_connected());
  EXPECT_TRUE(logged("3 ortdv: do_hello_rev(): Failed: read() error=5"));
  EXPECT_TRUE(logged("3 ortdv: do_connect_rev(): Failed: read() error=5"));
}

TEST_F(Handshake, NumbersUpToTwoAheadAnswer) {
  event("answer hello seqno=+2");
  event("answer connect seqno=+2");
  do_not_stop();
  // In real time: not accepted, they would be waited for until the test fails.
  start_daemon({.poll_divisor = 1});
  ASSERT_TRUE(run_until_connected());
}

// A reply that does not end the hello's wait is followed by one that fails it:
// the connect would report the error, had the hello been content before.
TEST_F(Handshake, NumberThreeAheadIsAnothers) {
  on_first(PacketKind::kHello,
           [this] { push(ChifBuilder(0x8193).svc(13).seqno(3).sized(20).bytes()); });
  event("answer hello errcode=6 times=1");
  start_daemon();
  ASSERT_TRUE(run_until_connected());
  EXPECT_THAT(log_starting("3 "),
              ElementsAre("3 ortdv: do_hello_rev(): Failed: read()<errcode error=6"));
}

TEST_F(Handshake, MoreToComeIsWaitedFor) {
  on_first(PacketKind::kHello,
           [this] { push(ChifBuilder(0x8193).svc(13).u16_at(14, 1).sized(20).bytes()); });
  event("answer hello errcode=6 times=1");
  start_daemon();
  ASSERT_TRUE(run_until_connected());
  EXPECT_THAT(log_starting("3 "),
              ElementsAre("3 ortdv: do_hello_rev(): Failed: read()<errcode error=6"));
}

TEST_F(Handshake, BusyDriverIsWrittenToThirtyTimesTenMillisecondsApart) {
  // The next thing written after this query is the hello.
  on_first(PacketKind::kNvramGet, [this] { event("busy 30"); });
  touch(kHoldFile);
  start_daemon({.record = "sleep,usleep"});
  ASSERT_TRUE(run_until_logged("clock: sleep 10"));
  const std::vector<std::string> lines = log_from_device();
  constexpr const char* kFailed =
      "3 ortdv: do_hello_rev(): Failed: Writing ZEMOX TVU_HELLO errno =16";
  EXPECT_EQ(times_logged(kFailed), 30U);
  EXPECT_EQ(std::ranges::count(lines, "clock: usleep 10000"), 1 + 30);
  unlink(kHoldFile);
  ASSERT_TRUE(run_until_connected());
}

TEST_F(Handshake, NoFreeChannelIsLookedForEveryTenSeconds) {
  // Taken while the daemon still holds the one that its last query needs.
  on_first(PacketKind::kNvramGet, [this] { event("occupy 0-15"); });
  start_daemon();
  constexpr const char* kNoChannel = "6 ortdv: mox_chrdev: Failed: no available Qel Mox channels";
  ASSERT_TRUE(run_until_logged(kNoChannel, 3));
  event("release 15");
  ASSERT_TRUE(run_until_connected());
  std::vector<std::string> lines = log_of(daemon.pid());
  lines.erase(lines.begin(), std::ranges::find(lines, kNoChannel));
  ASSERT_EQ(lines.size() % 2, 1U);
  for (size_t i = 0; i + 1 < lines.size() && lines[i] != kDeviceLine; i += 2) {
    EXPECT_EQ(lines[i], kNoChannel);
    EXPECT_EQ(lines[i + 1], "clock: sleep 10");
  }
}

TEST_F(Handshake, ResetIsRelayedThenTheSessionIsRenewedAfterTenSeconds) {
  start_relay();
  event("reset uptime=5");
  ASSERT_TRUE(run_until_connected(2));
  EXPECT_THAT(receiver.traps(), ElementsAre("public 1.3.6.1.4.1.32473.1 192.0.2.20 6/6061 @5"));
  EXPECT_THAT(other_receiver.traps(), ElementsAre("ops 1.3.6.1.4.1.32473.1 192.0.2.20 6/6061 @5"));
  EXPECT_THAT(hex_received(PacketKind::kBye), ElementsAre(kBye));
  EXPECT_THAT(log_from_device(),
              ElementsAre(kDeviceLine, kConnectedLine, kChannelLine,
                          "6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.6061] to dest "
                          "[192.0.2.7] ...",
                          "6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.6061] to dest "
                          "[198.51.100.9] ...",
                          "clock: sleep 10", kDeviceLine, kConnectedLine, kChannelLine));
  EXPECT_TRUE(relays());
}

TEST_F(Handshake, ResetsCanFollowEachOther) {
  start_relay();
  for (size_t round = 1; round <= 5; ++round) {
    event("reset");
    ASSERT_TRUE(run_until_connected(round + 1));
  }
  EXPECT_EQ(receiver.count(), 5U);
  EXPECT_EQ(hex_received(PacketKind::kHello).size(), 6U);
}

TEST_F(Handshake, HangUpIsAnsweredWithANewSessionAtOnce) {
  start_relay();
  event("hangup");
  ASSERT_TRUE(run_until_connected(2));
  EXPECT_THAT(log_from_device(),
              ElementsAre(kDeviceLine, kConnectedLine, kChannelLine,
                          "3 ortdv: go_bye(): Failed: Writing SNMP_HELLO_BYE send=-1 errno =32",
                          kDeviceLine, kConnectedLine, kChannelLine));
  EXPECT_TRUE(relays());
}

TEST_F(Handshake, BmcThatHangsUpDuringTheHelloIsGreetedAgain) {
  on_first(PacketKind::kHello, [this] { event("hangup"); });
  start_daemon();
  // The hello's reads and writes fail until the channel is given up.
  ASSERT_TRUE(run_until_connected());
  EXPECT_TRUE(logged("3 ortdv: do_hello_rev(): Failed: read() error=5"));
  EXPECT_EQ(times_logged("clock: sleep 15"), 1U);
}

TEST_F(Handshake, ShortGoodbyeReplyIsReportedAndTheDaemonLeavesAllTheSame) {
  event("answer bye size=100");
  do_not_stop();
  start_relay();
  touch(kBmcStopFile);
  EXPECT_EQ(run_until_exit(), 1);
  EXPECT_THAT(log(),
              Contains(StartsWith("3 ortdv: go_bye(): read() bytes=100 < len=4084  errno=")));
}

TEST_F(Handshake, RefusedGoodbyeIsReported) {
  event("answer bye errcode=9");
  do_not_stop();
  start_relay();
  touch(kBmcStopFile);
  EXPECT_EQ(run_until_exit(), 1);
  EXPECT_THAT(log(),
              Contains(StartsWith("3 ortdv: go_bye(): read() returned rsp_pkt->err=9  errno=")));
}

}  // namespace
