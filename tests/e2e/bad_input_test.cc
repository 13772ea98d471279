// SPDX-License-Identifier: Apache-2.0
// Packets of the BMC whose sizes or contents are wrong. Whatever comes, the
// daemon says what it dropped, and the next good packet is relayed.
#include <unistd.h>

#include <random>

#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

class BadInput : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    start_relay();
  }

  // Pushes a packet and then a good notification. Returns what was logged
  // between the two, at priorities below 6.
  Lines errors_of(const Bytes& packet) {
    const size_t before = log().size();
    push(packet);
    relay_marker();
    Lines lines = log(before);
    std::erase_if(lines, [](const std::string& line) { return line.starts_with("6 "); });
    return lines;
  }

  // Everything before it has been dealt with once its trap is there.
  void relay_marker() {
    ++markers_;
    const std::string number = std::to_string(markers_);
    event("notify 1.3.6.1.4.1.32473.1.0.99 uptime=" + number);
    const std::string trap = "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/99 @" + number;
    ASSERT_TRUE(
        run_until([&] { return !receiver.traps().empty() && receiver.traps().back() == trap; }));
  }

  // Traps that are no markers.
  Lines other_traps() const {
    Lines traps = receiver.traps();
    std::erase_if(traps, [](const std::string& trap) { return trap.find("6/99 ") != trap.npos; });
    return traps;
  }

  static Bytes good_pdu() { return NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.3").bytes(); }

 private:
  int markers_ = 0;
};

TEST_F(BadInput, PacketsUpTo16BytesAreDropped) {
  for (const size_t size : {0U, 1U, 7U, 8U, 15U, 16U}) {
    EXPECT_THAT(errors_of(ChifBuilder(0x0095).sized(size).bytes()), IsEmpty()) << size;
  }
  EXPECT_EQ(bmc.received(PacketKind::kLogAck), 0);
}

TEST_F(BadInput, PacketOf17BytesIsDispatched) {
  EXPECT_THAT(errors_of(ChifBuilder(0x0095).text("!").errcode(1).bytes()),
              ElementsAre("1 tvurev: !"));
  EXPECT_EQ(bmc.received(PacketKind::kLogAck), 1);
}

TEST_F(BadInput, PacketSizeBeyondWhatWasReceivedIsReported) {
  for (const int pktsize : {200, 4097, 65535}) {
    EXPECT_THAT(
        errors_of(
            ChifBuilder(1).agentx(good_pdu()).pktsize(static_cast<uint16_t>(pktsize)).bytes()),
        ElementsAre("3 ortdv: bmc_recv ERROR: errno is [0xb]"));
  }
  EXPECT_THAT(other_traps(), IsEmpty());
}

TEST_F(BadInput, PacketSizeBelowWhatWasReceivedIsAccepted) {
  EXPECT_THAT(errors_of(ChifBuilder(1).agentx(good_pdu()).pktsize(0).bytes()), IsEmpty());
  EXPECT_EQ(other_traps().size(), 1U);
}

TEST_F(BadInput, NotificationLengthBeyondThePacketIsReported) {
  const auto expect_reported = [&](uint32_t length, const std::string& shown, size_t size) {
    const Bytes packet =
        ChifBuilder(1).agentx(good_pdu()).agentx_resp_len(length).sized(size).bytes();
    EXPECT_THAT(errors_of(packet),
                ElementsAre("3 ortdv: bmc_recv(): agentx_resp_len " + shown +
                                " > expected: size=4080, rc=" + std::to_string(size),
                            "3 ortdv: bmc_recv ERROR: errno is [0x5a]"));
  };
  expect_reported(4081, "4081", 4096);
  expect_reported(4294967295U, "-1", 4096);
  expect_reported(2147483648U, "-2147483648", 4096);
  expect_reported(201, "201", 200);
  EXPECT_THAT(other_traps(), IsEmpty());
}

TEST_F(BadInput, NotificationLengthUpToThePacketsWholeSizeIsAccepted) {
  // The header is part of what it is compared with; what is missing is zero.
  const Bytes packet = ChifBuilder(1).agentx(good_pdu()).bytes();
  Bytes claiming = packet;
  claiming[12] = static_cast<uint8_t>(packet.size());
  EXPECT_THAT(errors_of(claiming), IsEmpty());
  EXPECT_EQ(other_traps().size(), 1U);
}

TEST_F(BadInput, NotificationWithoutAnyByteIsDropped) {
  EXPECT_THAT(errors_of(ChifBuilder(1).agentx(good_pdu()).agentx_resp_len(0).bytes()), IsEmpty());
  EXPECT_THAT(errors_of(ChifBuilder(1).agentx(good_pdu()).agentx_resp_len(1).bytes()), IsEmpty());
  EXPECT_THAT(other_traps(), IsEmpty());
}

TEST_F(BadInput, LogTextLengthBeyondThePacketEndsWithThePacket) {
  const std::string text(4080, 't');
  for (const uint32_t length : {4080U, 4081U, 5000U, 65535U}) {
    EXPECT_THAT(errors_of(ChifBuilder(0x0095).errcode(length).text(text).bytes()),
                ElementsAre("1 tvurev: " + text));
  }
  // The zero at its end is the last byte of the buffer.
  EXPECT_THAT(errors_of(ChifBuilder(0x0095).errcode(4079).text(text).bytes()),
              ElementsAre("1 tvurev: " + text.substr(1)));
  EXPECT_THAT(errors_of(ChifBuilder(0x0095).errcode(65535).text("short").bytes()),
              ElementsAre("1 tvurev: short"));
  EXPECT_EQ(bmc.received(PacketKind::kLogAck), 6);
}

TEST_F(BadInput, LogTextMayHoldControlCharactersAndBytesOfAnyKind) {
  EXPECT_THAT(errors_of(ChifBuilder(0x0095)
                            .errcode(6)
                            .text("a\n\t\x1b\xff"
                                  "b")
                            .bytes()),
              ElementsAre("1 tvurev: a\n\t\x1b\xff"
                          "b"));
}

TEST_F(BadInput, PacketLongerThanTheBufferIsCutByTheDriver) {
  Bytes packet = ChifBuilder(1).agentx(good_pdu()).bytes();
  packet.resize(6000);
  EXPECT_THAT(errors_of(packet), IsEmpty());
  EXPECT_EQ(other_traps().size(), 1U);
}

TEST_F(BadInput, UnknownCommandsAreReadAsNotifications) {
  EXPECT_THAT(errors_of(ChifBuilder(0x7777).agentx(good_pdu()).bytes()), IsEmpty());
  EXPECT_THAT(errors_of(ChifBuilder(0xFFFF).sized(17).bytes()), IsEmpty());
  EXPECT_EQ(other_traps().size(), 1U);
}

TEST_F(BadInput, FailingReadsAreSurvived) {
  for (const char* fault :
       {"fail read EIO times=3", "fail read nothing times=3", "fail read EINTR times=3"}) {
    event(fault);
    relay_marker();
  }
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

// Every byte is drawn, or all but those that lead to a decoder.
Bytes random_packet(std::mt19937* random) {
  constexpr size_t kSizeMax = 4096;
  Bytes packet((*random)() % ((*random)() % 4 == 0 ? kSizeMax : 300) + 1);
  for (uint8_t& byte : packet) {
    // Small numbers make lengths that fit, and so lead further.
    byte = static_cast<uint8_t>((*random)() % ((*random)() % 2 == 0 ? 256 : 8));
  }
  return packet;
}

Bytes random_notification(std::mt19937* random) {
  Bytes pdu = random_packet(random);
  pdu.resize(std::min<size_t>(std::max<size_t>(pdu.size(), 40), 4080));
  pdu[1] = 12;
  pdu[18] = pdu[19] = 0;
  return ChifBuilder(1).agentx(pdu).bytes();
}

TEST_F(BadInput, RandomBytesAreSurvived) {
  constexpr unsigned kSeed = 6061;
  std::mt19937 random(kSeed);
  for (int i = 0; i < 400; ++i) {
    push(i % 2 == 0 ? random_packet(&random) : random_notification(&random));
  }
  relay_marker();
  EXPECT_TRUE(daemon.running());
}

TEST_F(BadInput, RandomBytesOfAHostAgentAreSurvived) {
  constexpr unsigned kSeed = 32473;
  std::mt19937 random(kSeed);
  LocalClient agent = connected_client();
  for (int i = 0; i < 200; ++i) {
    Bytes bytes = i % 2 == 0 ? random_packet(&random) : random_notification(&random);
    ASSERT_TRUE(run_until([&] { return agent.send(bytes); }));
  }
  agent.hang_up();
  LocalClient next = connected_client();
  ASSERT_TRUE(next.send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.77").bytes()));
  ASSERT_TRUE(run_until([&] {
    return !receiver.traps().empty() &&
           receiver.traps().back() == "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/77 @0";
  }));
}

}  // namespace
