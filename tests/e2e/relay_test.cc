// SPDX-License-Identifier: Apache-2.0
// What becomes of the packets of a connected BMC: notifications turn into
// traps, log texts into alerts, both in the order in which they came.
#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Relay : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    start_relay();
  }

  // Relays one more notification: everything before it has been dealt with.
  void relay_marker() {
    event("notify 1.3.6.1.4.1.32473.1.0.99");
    ASSERT_TRUE(
        run_until([&] { return !receiver.traps().empty() && receiver.traps().back() == kMarker; }));
  }

  static constexpr const char* kMarker = "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/99 @0";
};

TEST_F(Relay, NotificationReachesEveryReceiverWithItsCommunity) {
  event(
      "notify 1.3.6.1.4.1.32473.1.0.3 uptime=100 1.3.6.1.4.1.32473.1.1.1.0=octets:\"fan 3\" "
      "1.3.6.1.4.1.32473.1.1.2.0=integer:-5");
  ASSERT_TRUE(run_until([&] { return receiver.count() == 1 && other_receiver.count() == 1; }));
  EXPECT_THAT(receiver.traps(),
              ElementsAre("public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @100 "
                          "1.3.6.1.4.1.32473.1.1.1.0=\"fan 3\" 1.3.6.1.4.1.32473.1.1.2.0=-5"));
  EXPECT_THAT(other_receiver.traps(),
              ElementsAre("ops 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @100 "
                          "1.3.6.1.4.1.32473.1.1.1.0=\"fan 3\" 1.3.6.1.4.1.32473.1.1.2.0=-5"));
  EXPECT_THAT(log_starting("6 ortdv: tvurev: Sending"),
              ElementsAre("6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.3] to dest "
                          "[192.0.2.7] ...",
                          "6 ortdv: tvurev: Sending trap [1.3.6.1.4.1.32473.1.0.3] to dest "
                          "[198.51.100.9] ..."));
}

TEST_F(Relay, EveryValueTypeArrivesInItsDocumentedForm) {
  event(
      "notify 1.3.6.1.4.1.32473.1.7"
      " 1.3.6.1.4.1.32473.2.1=integer:-2147483648"
      " 1.3.6.1.4.1.32473.2.2=counter32:4294967295"
      " 1.3.6.1.4.1.32473.2.3=gauge32:7"
      " 1.3.6.1.4.1.32473.2.4=timeticks:4711"
      " 1.3.6.1.4.1.32473.2.5=octets:\"\""
      " 1.3.6.1.4.1.32473.2.6=hex:41420043"
      " 1.3.6.1.4.1.32473.2.7=opaque:blob"
      " 1.3.6.1.4.1.32473.2.8=ipaddress:203.0.113.77"
      " 1.3.6.1.4.1.32473.2.9=oid:1.3.6.1.4.1.32473.9"
      " 1.3.6.1.4.1.32473.2.10=counter64:5"
      " 1.3.6.1.4.1.32473.2.11=null"
      " 1.3.6.1.4.1.32473.2.12=noSuchObject"
      " 1.3.6.1.4.1.32473.2.13=noSuchInstance"
      " 1.3.6.1.4.1.32473.2.14=endOfMibView"
      " 1.3.6.1.4.1.32473.2.15=hex:ff80");
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_EQ(receiver.traps()[0],
            "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/7 @0"
            " 1.3.6.1.4.1.32473.2.1=-2147483648"
            " 1.3.6.1.4.1.32473.2.2=-1"
            " 1.3.6.1.4.1.32473.2.3=7"
            " 1.3.6.1.4.1.32473.2.4=ticks:0"
            " 1.3.6.1.4.1.32473.2.5=\"\""
            " 1.3.6.1.4.1.32473.2.6=\"AB\""
            " 1.3.6.1.4.1.32473.2.7=\"blob\""
            " 1.3.6.1.4.1.32473.2.8=ip:203.0.113.77"
            " 1.3.6.1.4.1.32473.2.9=1.3.6.1.4.1.32473.9"
            " 1.3.6.1.4.1.32473.2.15=\"\\xff\\x80\"");
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

TEST_F(Relay, StandardTrapsGetTheirGenericNumber) {
  for (int number = 1; number <= 7; ++number) {
    event("notify 1.3.6.1.6.3.1.1.5." + std::to_string(number));
  }
  ASSERT_TRUE(run_until_traps(7));
  EXPECT_THAT(receiver.traps(), ElementsAre("public 1.3.6.1.6.3.1.1.5 192.0.2.20 0/0 @0",
                                            "public 1.3.6.1.6.3.1.1.5 192.0.2.20 1/0 @0",
                                            "public 1.3.6.1.6.3.1.1.5 192.0.2.20 2/0 @0",
                                            "public 1.3.6.1.6.3.1.1.5 192.0.2.20 3/0 @0",
                                            "public 1.3.6.1.6.3.1.1.5 192.0.2.20 4/0 @0",
                                            "public 1.3.6.1.6.3.1.1.5 192.0.2.20 5/0 @0",
                                            "public 1.3.6.1.6.3.1.1.5 192.0.2.20 6/7 @0"));
}

TEST_F(Relay, TimeStampPast497DaysIsKeptBitForBit) {
  event("notify 1.3.6.1.4.1.32473.1.0.3 uptime=4294967295");
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_EQ(receiver.traps()[0], "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @4294967295");
}

TEST_F(Relay, OnlyTheFirst25OfThirtyBindingsAreSent) {
  NotifyBuilder notify;
  notify.trap_oid("1.3.6.1.4.1.32473.1.0.3");
  std::string expected = "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0";
  for (int i = 1; i <= 30; ++i) {
    const std::string name = "1.3.6.1.4.1.32473.2." + std::to_string(i);
    notify.integer(name, i);
    expected += i <= 25 ? " " + name + "=" + std::to_string(i) : "";
  }
  push_notify(notify.bytes());
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_EQ(receiver.traps()[0], expected);
}

TEST_F(Relay, LongNumbersInNamesAreCutToSixDigits) {
  push_notify(NotifyBuilder()
                  .trap_oid("1.3.6.1.4.1.32473.1.0.3")
                  .integer("1.3.6.1.4.1.32473.12345678.1", 1)
                  .bytes());
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_EQ(receiver.traps()[0],
            "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0 1.3.6.1.4.1.32473.123456.1=1");
}

TEST_F(Relay, LargestNotificationIsForwarded) {
  NotifyBuilder notify;
  notify.trap_oid("1.3.6.1.4.1.32473.1.0.3");
  const size_t overhead = notify.octets("1.3.6.1.4.1.32473.2.1", "").bytes().size();
  const std::string text(4080 - overhead, 'x');
  NotifyBuilder full;
  full.trap_oid("1.3.6.1.4.1.32473.1.0.3").octets("1.3.6.1.4.1.32473.2.1", text);
  ASSERT_EQ(full.bytes().size(), 4080U);
  push_notify(full.bytes());
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_EQ(receiver.traps()[0],
            "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0 "
            "1.3.6.1.4.1.32473.2.1=\"" +
                text + "\"");
}

TEST_F(Relay, CommunityBindingIsNotForwarded) {
  push_notify(NotifyBuilder()
                  .trap_oid("1.3.6.1.4.1.32473.1.0.3")
                  .community("secret")
                  .integer("1.3.6.1.4.1.32473.2.1", 1)
                  .bytes());
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_EQ(receiver.traps()[0],
            "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0 1.3.6.1.4.1.32473.2.1=1");
}

TEST_F(Relay, LogTextBecomesAnAlertAndIsAcknowledged) {
  event("log \"Fan 3 failed\"");
  event("log \"Fan 3 repaired\"");
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kLogAck) == 2; }));
  EXPECT_THAT(log_starting("1 "),
              ElementsAre("1 tvurev: Fan 3 failed", "1 tvurev: Fan 3 repaired"));
  // The daemon's own running number; the hello took 0.
  EXPECT_EQ(hex_received(PacketKind::kLogAck)[0],
            "10 00 01 00 95 80 0d 00 00 00 00 00 00 00 00 00");
  EXPECT_EQ(hex_of(received(PacketKind::kLogAck)[1]),
            "10 00 02 00 95 80 0d 00 00 00 00 00 00 00 00 00");
  relay_marker();
  EXPECT_EQ(receiver.count(), 1U);
}

TEST_F(Relay, LogTextEndsWhereItsLengthSays) {
  event("log \"Fan 3 failed\" length=5");
  ASSERT_TRUE(run_until_logged("1 tvurev: Fan 3"));
}

TEST_F(Relay, AcknowledgementIsRepeatedWhileTheDriverIsBusy) {
  event("busy 20");
  event("log busy");
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kLogAck) == 1; }));
}

TEST_F(Relay, AcknowledgementThatFailsIsGivenUp) {
  event("fail write EIO");
  event("log lost");
  relay_marker();
  EXPECT_EQ(bmc.received(PacketKind::kLogAck), 0);
  EXPECT_TRUE(logged("1 tvurev: lost"));
}

TEST_F(Relay, HelloResponsesAndStatusPacketsAreOnlyLookedAt) {
  event("hello-response");
  event("hello-response errcode=0x1234");
  event("status 0x0094 error=5");
  event("status 0x8094 error=6");
  event("status 0x8194 error=7");
  event("status 0x8194");
  relay_marker();
  EXPECT_THAT(log_starting("3 "), ElementsAre("3 ortdv: bmc_recv ERROR: errno is [0x1234]",
                                              "3 ortdv: bmc_recv ERROR: errno is [0x5]",
                                              "3 ortdv: bmc_recv ERROR: errno is [0x6]",
                                              "3 ortdv: bmc_recv ERROR: errno is [0x7]"));
  EXPECT_EQ(receiver.count(), 1U);
}

TEST_F(Relay, StatusPacketWithoutAnErrorCanCarryANotification) {
  const Bytes pdu = NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.3").bytes();
  push(ChifBuilder(0x8094).errcode(5).agentx(pdu).bytes());
  push(ChifBuilder(0x8094).errcode(0).agentx(pdu).bytes());
  relay_marker();
  EXPECT_THAT(receiver.traps(),
              ElementsAre("public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0", kMarker));
}

TEST_F(Relay, OtherPdusThanNotificationsAreDropped) {
  for (const int type : {0, 1, 2, 11, 13, 18, 255}) {
    event("notify 1.3.6.1.4.1.32473.1.0.3 type=" + std::to_string(type));
  }
  relay_marker();
  EXPECT_EQ(receiver.count(), 1U);
  EXPECT_THAT(log_starting("3 "), IsEmpty());
}

TEST_F(Relay, FloodOf500PacketsLosesNothingAndKeepsTheOrder) {
  std::vector<std::string> expected;
  for (int i = 0; i < 250; ++i) {
    event("notify 1.3.6.1.4.1.32473.1.0.3 uptime=" + std::to_string(i));
    event("log \"entry " + std::to_string(i) + "\"");
    expected.push_back("public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @" + std::to_string(i));
  }
  ASSERT_TRUE(run_until_traps(250));
  ASSERT_TRUE(run_until([&] { return bmc.received(PacketKind::kLogAck) == 250; }));
  EXPECT_EQ(receiver.traps(), expected);
  EXPECT_EQ(log_starting("1 tvurev: entry ").size(), 250U);
  EXPECT_EQ(log_starting("1 tvurev: entry ").back(), "1 tvurev: entry 249");
}

}  // namespace
