// SPDX-License-Identifier: Apache-2.0
// What relaying a notification takes from the heap, and that an empty heap never
// costs a trap one of its bindings without a word.
#include <gtest/gtest.h>
#include <syslog.h>

#include <new>
#include <string>

#include "base/text.h"
#include "log/log.h"
#include "tests/support/heap_count.h"
#include "tests/support/packets.h"
#include "tests/support/silent_calls.h"
#include "trap/host_address.h"
#include "trap/host_snmp.h"
#include "trap/trap_sender.h"

namespace {

// The promise: one block for the bindings, which the Pdu takes over as they lie,
// however many receivers there are.
constexpr size_t kAllocations = 1;

class RelayMemory : public testing::Test {
 protected:
  void SetUp() override {
    snmp_enabled_flag = 1;
    copy_text(host_ipaddress, "203.0.113.4");
    trap_destinations = {"192.0.2.7", "198.51.100.9", "203.0.113.1"};
    trap_communities = {"public", "a community that is no short string", ""};
    // The C library and the log client take a few blocks with a process's first
    // message, and keep them; so does the C library with what is to be destroyed at
    // the end, which the first trap makes.
    Log(LOG_INFO, "first message\n");
    send_trap_to_host(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.7").bytes());
  }
  void TearDown() override {
    snmp_enabled_flag = 0;
    trap_destinations.clear();
    trap_communities.clear();
  }

  // Allocations while the packet is relayed; it goes to every receiver.
  static size_t allocations_of(const Bytes& packet) {
    const size_t datagrams = silently_sent().datagrams;
    const size_t before = heap_allocations();
    send_trap_to_host(packet);
    const size_t allocations = heap_allocations() - before;
    EXPECT_EQ(silently_sent().datagrams - datagrams, trap_destinations.size());
    return allocations;
  }
};

TEST_F(RelayMemory, IsOneBlockForAUsualNotification) {
  const Bytes packet = fan_notification();
  EXPECT_EQ(allocations_of(packet), kAllocations);
  EXPECT_EQ(allocations_of(packet), kAllocations);
}

TEST_F(RelayMemory, IsNoneWithoutBindings) {
  const Bytes packet = NotifyBuilder().uptime(1).trap_oid("1.3.6.1.4.1.32473.1.0.7").bytes();
  EXPECT_EQ(allocations_of(packet), 0U);
}

TEST_F(RelayMemory, DoesNotGrowWithBindingsOrReceivers) {
  NotifyBuilder notify;
  notify.uptime(1).trap_oid("1.3.6.1.4.1.32473.1.0.7");
  for (int i = 0; i < 25; ++i) {
    notify.octets("1.3.6.1.4.1.32473.1.1." + std::to_string(i), std::string(60, 'x'));
  }
  const Bytes packet = notify.bytes();
  EXPECT_EQ(allocations_of(packet), kAllocations);
  trap_destinations.resize(1);
  EXPECT_EQ(allocations_of(packet), kAllocations);
}

TEST_F(RelayMemory, IsOneMoreForEachLongString) {
  const Bytes packet = NotifyBuilder()
                           .trap_oid("1.3.6.1.4.1.32473.1.0.7")
                           .octets("1.3.6.1.4.1.32473.1.1", std::string(128, 'x'))
                           .octets("1.3.6.1.4.1.32473.1.2", std::string(129, 'x'))
                           .octets("1.3.6.1.4.1.32473.1.3", std::string(3000, 'x'))
                           .bytes();
  EXPECT_EQ(allocations_of(packet), kAllocations + 2);
}

// What happened when the heap had so many blocks left.
enum class Outcome { kThrew, kReturned };

Outcome relay_with(size_t allocations, const Bytes& packet) {
  try {
    const HeapLimit limit(allocations);
    send_trap_to_host(packet);
  } catch (const std::bad_alloc&) {
    return Outcome::kThrew;
  }
  return Outcome::kReturned;
}

TEST_F(RelayMemory, ThatIsMissingThrowsBeforeAnythingIsSent) {
  if (!heap_can_run_out()) {
    GTEST_SKIP() << "a sanitizer has the heap";
  }
  const Bytes packet = NotifyBuilder()
                           .trap_oid("1.3.6.1.4.1.32473.1.0.7")
                           .integer("1.3.6.1.4.1.32473.1.1", 1)
                           .octets("1.3.6.1.4.1.32473.1.2", std::string(1000, 'x'))
                           .ip_address("1.3.6.1.4.1.32473.1.3", bytes_of("c0 00 02 63"))
                           .octets("1.3.6.1.4.1.32473.1.4", std::string(2000, 'y'))
                           .bytes();
  SilentlySent before = silently_sent();
  const size_t needed = allocations_of(packet);
  const size_t octets = silently_sent().octets - before.octets;
  ASSERT_EQ(needed, kAllocations + 2);
  for (size_t allocations = 0; allocations < needed; ++allocations) {
    before = silently_sent();
    EXPECT_EQ(relay_with(allocations, packet), Outcome::kThrew) << allocations;
    EXPECT_EQ(silently_sent().datagrams, before.datagrams) << allocations;
  }
  before = silently_sent();
  EXPECT_EQ(relay_with(needed, packet), Outcome::kReturned);
  EXPECT_EQ(silently_sent().octets - before.octets, octets);
}

}  // namespace
