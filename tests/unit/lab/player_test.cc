// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/player.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "lab/supervisor/local_socket.h"
#include "tests/unit/lab/temporary_directory.h"

namespace {

class PlayerTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(bmc_.open_channels(directory_.path(), 0, 0), ""); }

  static Player player(const std::string& text) {
    return make_player(parse_scenario(text, "test"));
  }

  // A host that sends one packet and stays.
  Descriptor host(const char* packet) const {
    Descriptor fd = connect_local(SOCK_SEQPACKET, directory_ / "zemox-d0ccb0");
    const Bytes bytes = parse_hex(packet).value();
    EXPECT_EQ(send(fd.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    return fd;
  }

  TemporaryDirectory directory_;
  Simulator bmc_;
};

constexpr const char* kHelloPacket = "1000070093010d000100000000000000";
constexpr const char* kConnect = "1000000093010d000300000000000000";

}  // namespace

TEST_F(PlayerTest, PlaysLinesUntilOneHasToWait) {
  Player waiting = player("nvram A=01\nexpect hello\nnvram B=02\n");
  EXPECT_EQ(play(&waiting, &bmc_), PlayState::kWaiting);
  EXPECT_TRUE(bmc_.variables.contains("A"));
  EXPECT_FALSE(bmc_.variables.contains("B"));
  const Descriptor fd = host(kHelloPacket);
  while (bmc_.step(0)) {
  }
  EXPECT_EQ(play(&waiting, &bmc_), PlayState::kDone);
  EXPECT_TRUE(bmc_.variables.contains("B"));
}

TEST_F(PlayerTest, WhatHappenedBeforeCountsOnce) {
  const Descriptor fd = host(kHelloPacket);
  while (bmc_.step(0)) {
  }
  Player once = player("expect open\nexpect hello\n");
  EXPECT_EQ(play(&once, &bmc_), PlayState::kDone);
  Player twice = player("expect hello\nexpect hello limit=0\n");
  EXPECT_EQ(play(&twice, &bmc_), PlayState::kFailed);
  EXPECT_EQ(twice.error, "test:2: did not happen in time: expect hello limit=0");
}

TEST_F(PlayerTest, AnotherPacketDoesNotMeetAnExpectation) {
  const Descriptor fd = host(kConnect);
  while (bmc_.step(0)) {
  }
  Player other = player("expect hello limit=0\n");
  EXPECT_EQ(play(&other, &bmc_), PlayState::kFailed);
}

TEST_F(PlayerTest, AWaitEndsWithItsTime) {
  Player waiting = player("wait 1000\n");
  EXPECT_EQ(play(&waiting, &bmc_), PlayState::kWaiting);
  EXPECT_GT(play_timeout_ms(waiting), 900000);
  EXPECT_LE(play_timeout_ms(waiting), 1000001);
  Player over = player("wait 0\nnvram A=01\n");
  EXPECT_EQ(play(&over, &bmc_), PlayState::kDone);
  EXPECT_TRUE(bmc_.variables.contains("A"));
}

TEST_F(PlayerTest, QuitSkipsTheRest) {
  Player quitting = player("quit\nnvram A=01\n");
  EXPECT_EQ(play(&quitting, &bmc_), PlayState::kDone);
  EXPECT_TRUE(quitting.quit);
  EXPECT_FALSE(bmc_.variables.contains("A"));
}

TEST_F(PlayerTest, AnEventThatCannotBeDoneNamesItsLine) {
  Player failing = player("\nlog x\nnvram A=01\n");
  EXPECT_EQ(play(&failing, &bmc_), PlayState::kFailed);
  EXPECT_EQ(failing.error, "test:2: no client has a channel open to send this to");
  EXPECT_EQ(play(&failing, &bmc_), PlayState::kDone);
  EXPECT_TRUE(bmc_.variables.contains("A"));
}

TEST_F(PlayerTest, DrainedWaitsUntilTheHostHasRead) {
  const Descriptor fd = host(kHelloPacket);
  while (bmc_.step(0)) {
  }
  Player waiting = player("expect drained\n");
  EXPECT_EQ(play(&waiting, &bmc_), PlayState::kWaiting);
  Bytes buffer(100);
  EXPECT_EQ(recv(fd.get(), buffer.data(), buffer.size(), 0), 20);
  EXPECT_EQ(play(&waiting, &bmc_), PlayState::kDone);
}
