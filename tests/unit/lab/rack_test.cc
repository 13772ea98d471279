// SPDX-License-Identifier: Apache-2.0
// What a rack counts: the kernel's tables and the receivers' lines.
#include <gtest/gtest.h>
#include <unistd.h>

#include "lab/rack/host.h"
#include "lab/rack/receiver.h"

namespace {

constexpr const char* kSockets =
    "   sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout "
    "inode ref pointer drops            \n"
    " 1066: 096433C6:00A2 00000000:0000 07 00000000:00000340 00:00000000 00000000     0        0 "
    "1234 2 0000000000000000 17         \n"
    " 1067: 070200C0:00A2 00000000:0000 07 00000000:00000000 00:00000000 00000000     0        0 "
    "1235 2 0000000000000000 0          \n";

constexpr const char* kCounters =
    "Ip: Forwarding DefaultTTL\nIp: 2 64\n"
    "Udp: InDatagrams NoPorts InErrors OutDatagrams RcvbufErrors\nUdp: 11 2 3 44 5\n"
    "UdpLite: InDatagrams NoPorts InErrors OutDatagrams RcvbufErrors\nUdpLite: 0 0 0 0 0\n";

std::string line(const std::string& agent, const std::string& from, int number) {
  return agent + " UDP: [" + from +
         "]:40000->[192.0.2.7]:162 .1.3.6.1.4.1.32473.1.1.1.0 = " + std::to_string(number) +
         "\t.1.3.6.1.4.1.32473.1.1.2.0 = \"text\"";
}

class RackReceiver : public testing::Test {
 protected:
  RackReceiver() { receiver_.last.assign(4, 0); }
  Receiver receiver_;
};

}  // namespace

TEST(RackTables, ASocketIsFoundByItsAddress) {
  EXPECT_EQ(socket_counts(kSockets, "198.51.100.9").waiting_bytes, 0x340);
  EXPECT_EQ(socket_counts(kSockets, "198.51.100.9").dropped, 17);
  EXPECT_EQ(socket_counts(kSockets, "192.0.2.7").dropped, 0);
  EXPECT_EQ(socket_counts(kSockets, "203.0.113.1").dropped, 0);
}

TEST(RackTables, DatagramsAreThoseOfUdpAlone) {
  EXPECT_EQ(datagrams_sent(kCounters), 44);
  EXPECT_EQ(datagrams_sent(""), 0);
}

TEST(RackTables, ProcessorTimeIsThatOfTheChildrenToo) {
  const double ticks = static_cast<double>(sysconf(_SC_CLK_TCK));
  EXPECT_DOUBLE_EQ(processor_seconds("7 (a) b) S 1 7 7 0 -1 4194304 9 9 9 9 100 20 3 4 20 0 1 0"),
                   127 / ticks);
  EXPECT_DOUBLE_EQ(processor_seconds(""), 0);
}

TEST(RackAddresses, EveryHostHasItsOwnAndIsFoundByIt) {
  EXPECT_EQ(address_of_host(1), "198.18.0.1");
  EXPECT_EQ(address_of_host(250), "198.18.0.250");
  EXPECT_EQ(address_of_host(251), "198.18.1.1");
  for (const int number : {1, 250, 251, 9'999}) {
    EXPECT_EQ(host_of_address(address_of_host(number)), number);
  }
  EXPECT_EQ(host_of_address("192.0.2.7"), 0);
}

TEST_F(RackReceiver, TrapsInOrderAreCounted) {
  count_trap(&receiver_, line("198.18.0.1", "198.18.0.1", 1));
  count_trap(&receiver_, line("198.18.0.3", "198.18.0.3", 1));
  count_trap(&receiver_, line("198.18.0.1", "198.18.0.1", 3));
  EXPECT_EQ(receiver_.printed, 3);
  EXPECT_EQ(receiver_.misplaced, 0);
}

TEST_F(RackReceiver, ATrapThatComesTwiceOrTooLateIsMisplaced) {
  count_trap(&receiver_, line("198.18.0.1", "198.18.0.1", 2));
  count_trap(&receiver_, line("198.18.0.1", "198.18.0.1", 2));
  EXPECT_EQ(receiver_.misplaced, 1);
  EXPECT_EQ(receiver_.first_misplaced, line("198.18.0.1", "198.18.0.1", 2));
  count_trap(&receiver_, line("198.18.0.1", "198.18.0.1", 1));
  EXPECT_EQ(receiver_.misplaced, 2);
}

TEST_F(RackReceiver, ATrapOfNobodyOrFromElsewhereIsMisplaced) {
  count_trap(&receiver_, line("198.18.0.4", "198.18.0.4", 1));
  count_trap(&receiver_, line("198.18.0.1", "198.18.0.2", 1));
  count_trap(&receiver_, "198.18.0.1 UDP: [198.18.0.1]:1->[192.0.2.7]:162");
  EXPECT_EQ(receiver_.misplaced, 3);
}
