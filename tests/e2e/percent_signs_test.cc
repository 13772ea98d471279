// SPDX-License-Identifier: Apache-2.0
// Percent signs in texts from outside, on both roads and in every kind of text.
// A message is expanded by the system log once more: "%%" becomes "%" and "%m"
// the last error's text there, and nothing else is a conversion.
#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;

// As it is sent, and as the log shows it after the second expansion.
constexpr const char* kSent = "100%% %n%n %s %d %x %5$n %";
constexpr const char* kLoggedTwice = "100% %n%n %s %d %x %5$n %";

class PercentSigns : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    touch("/tmp/tvud.text");
    touch("/tmp/chif.text");
    touch("/tmp/agentx.text");
    start_relay();
  }

  static Bytes notification() {
    return NotifyBuilder()
        .trap_oid("1.3.6.1.4.1.32473.1.0.3")
        .octets("1.3.6.1.4.1.32473.2.1", kSent)
        .bytes();
  }
  static std::string trap() {
    return std::string(
               "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0 "
               "1.3.6.1.4.1.32473.2.1=\"") +
           kSent + "\"";
  }
  static std::string decoder_line() {
    return std::string("6 ortdv: vb[2] OID: [1.3.6.1.4.1.32473.2.1] [OCTET_STRING] [") +
           kLoggedTwice + "] vblen [56]";
  }
};

TEST_F(PercentSigns, InALogText) {
  event(std::string("log \"") + kSent + "\"");
  EXPECT_TRUE(run_until_logged(std::string("1 tvurev: ") + kSent));
  EXPECT_TRUE(run_until([&] { return bmc.received(PacketKind::kLogAck) == 1; }));
}

TEST_F(PercentSigns, InAShutdownReason) {
  event(std::string("reboot delay=0 reason=\"") + kSent + "\"");
  ASSERT_TRUE(
      run_until_logged(std::string("1 tvurev: The host is being rebooted due to ") + kSent + "."));
  EXPECT_TRUE(
      logged(std::string("1 tvurev: System will reboot in 0 seconds due to ") + kSent + "."));
  EXPECT_TRUE(logged(std::string("6 ortdv: Shutdown received: action [0x1] delay [0] reason [") +
                     kLoggedTwice + "]."));
  event(std::string("abort reason=\"") + kSent + "\"");
  EXPECT_TRUE(
      run_until_logged(std::string("6 tvurev: Shutdown due to ") + kSent + " has been Aborted."));
}

TEST_F(PercentSigns, InANotificationOfTheBmc) {
  push_notify(notification());
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap()));
  EXPECT_TRUE(logged(decoder_line()));
}

TEST_F(PercentSigns, InANotificationOfAHostAgent) {
  LocalClient agent = connected_client();
  ASSERT_TRUE(agent.send(notification()));
  ASSERT_TRUE(run_until_traps(1));
  EXPECT_THAT(receiver.traps(), ElementsAre(trap()));
  EXPECT_TRUE(logged(decoder_line()));
}

}  // namespace
