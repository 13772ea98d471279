// Thousands of notifications on both roads: nothing may add up.
#include "tests/e2e/host.h"

namespace {

class Soak : public Host {
 protected:
  // Relays so many notifications on each road, of changing sizes.
  void relay_on_both_roads(int count) {
    for (int i = 0; i < count; ++i) {
      const Bytes pdu = NotifyBuilder()
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

  struct Figures {
    size_t descriptors;
    long resident_kib;
  };
  Figures figures_of(pid_t pid) {
    // A trap is there before the daemon has closed the socket it sent it from.
    size_t descriptors = 0;
    EXPECT_TRUE(run_until([&] {
      descriptors = descriptors_of(pid).size();
      return descriptors <= kDescriptors;
    }));
    return {descriptors, resident_kib(pid)};
  }

  static void expect_unchanged(const Figures& before, const Figures& after) {
    EXPECT_EQ(before.descriptors, after.descriptors);
#ifndef TVUREV_SANITIZED  // which keep freed memory for a while
    EXPECT_LE(after.resident_kib, before.resident_kib + kSlackKib);
#endif
  }

  // Main: standard ones and the channel. Proxy: 0, the listener, the client.
  static constexpr size_t kDescriptors = 4;
  // A leak of a pointer's size in each notification does not hide in it.
  static constexpr long kSlackKib = 8;

  LocalClient agent_;

 private:
  size_t relayed_ = 0;
};

TEST_F(Soak, MemoryAndDescriptorsOfBothProcessesStayAsTheyAre) {
  start_relay({.record = ""});
  connect(&agent_);
  relay_on_both_roads(200);
  const Figures bmc_before = figures_of(daemon.pid());
  const Figures proxy_before = figures_of(socket_proxy());
  relay_on_both_roads(2000);
  expect_unchanged(bmc_before, figures_of(daemon.pid()));
  expect_unchanged(proxy_before, figures_of(socket_proxy()));
}

TEST_F(Soak, FiftySessionsOneAfterAnotherLeaveNothingBehind) {
  start_relay({.record = ""});
  const auto before = descriptors_of(daemon.pid()).size();
  for (size_t i = 0; i < 50; ++i) {
    event(i % 2 == 0 ? "hangup" : "reset");
    ASSERT_TRUE(run_until_logged(kConnectedLine, i + 2));
  }
  EXPECT_EQ(descriptors_of(daemon.pid()).size(), before);
  EXPECT_EQ(receiver.count(), 25U);
}

}  // namespace
