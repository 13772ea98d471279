// SPDX-License-Identifier: Apache-2.0
// Thousands of notifications on both roads: nothing may add up.
#include "tests/e2e/host.h"

namespace {

class Soak : public Host {
 protected:
  // Relays so many notifications on each road, of changing sizes.
  void relay_on_both_roads(int count) {
    for (int i = 0; i < count; ++i) {
      const Bytes pdu =
          NotifyBuilder()
              .uptime(static_cast<uint32_t>(i))
              .trap_oid("1.3.6.1.4.1.32473.1.0.3")
              .octets("1.3.6.1.4.1.32473.2.1", std::string(static_cast<size_t>(i % 50) * 20, 'x'))
              .ip_address("1.3.6.1.4.1.32473.2.2", Bytes{10, 0, 0, 5})
              .object_id("1.3.6.1.4.1.32473.2.3", "1.3.6.1.4.1.32473.9")
              .bytes();
      push_notify(pdu);
      ASSERT_TRUE(agent_.send(pdu));
      relayed_ += 2;
      ASSERT_TRUE(run_until_traps(relayed_));
    }
  }

  // The process has as many descriptors as this. (A trap arrives before the
  // daemon has closed the socket that it sent it from.)
  void expect_descriptors(pid_t pid, size_t count) {
    EXPECT_TRUE(run_until([=] { return descriptors_of(pid).size() == count; }))
        << testing::PrintToString(descriptors_of(pid));
  }

  static void expect_no_growth([[maybe_unused]] long before, [[maybe_unused]] long after) {
#ifndef TVUREV_SANITIZED  // which keep freed memory for a while
    EXPECT_LE(after, before + kSlackKib);
#endif
  }

  // Standard ones and the channel; "/dev/null", the listener and the client.
  static constexpr size_t kMainDescriptors = 4;
  static constexpr size_t kProxyDescriptors = 3;
  // A leak of a pointer's size in each notification does not hide in it.
  static constexpr long kSlackKib = 8;

  LocalClient agent_;

 private:
  size_t relayed_ = 0;
};

TEST_F(Soak, MemoryAndDescriptorsOfBothProcessesStayAsTheyAre) {
  start_relay({.record = ""});
  agent_ = connected_client();
  relay_on_both_roads(200);
  const long main_before = written_kib(daemon.pid());
  const long proxy_before = written_kib(socket_proxy());
  ASSERT_GT(main_before, 0);
  ASSERT_GT(proxy_before, 0);
  relay_on_both_roads(2000);
  expect_no_growth(main_before, written_kib(daemon.pid()));
  expect_no_growth(proxy_before, written_kib(socket_proxy()));
  expect_descriptors(daemon.pid(), kMainDescriptors);
  expect_descriptors(socket_proxy(), kProxyDescriptors);
}

TEST_F(Soak, FiftySessionsOneAfterAnotherLeaveNothingBehind) {
  start_relay({.record = ""});
  for (size_t i = 0; i < 50; ++i) {
    event(i % 2 == 0 ? "hangup" : "reset");
    ASSERT_TRUE(run_until_logged(kConnectedLine, i + 2));
  }
  expect_descriptors(daemon.pid(), kMainDescriptors);
  EXPECT_EQ(receiver.count(), 25U);
}

}  // namespace
