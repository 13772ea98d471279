// SPDX-License-Identifier: Apache-2.0
// What the classes take from the heap, and what they do when it is empty.
#include <gtest/gtest.h>

#include <new>
#include <string>

#include "network_calls.h"
#include "tests/support/heap_count.h"
#include "trap_receiver.h"

namespace Snmp_pp {
namespace {

// A binding of every kind.
Pdu full_pdu() {
  Pdu pdu = sample_pdu();
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  vb.set_value(-129);
  pdu += vb;
  vb.set_value(4294967295UL);
  pdu += vb;
  vb.set_value(TimeTicks(5));
  pdu += vb;
  vb.set_value("text");
  pdu += vb;
  vb.set_value(Oid("1.3.6.1.4.1.99.2"));
  pdu += vb;
  vb.set_value(IpAddress("10.0.0.5"));
  pdu += vb;
  vb.set_null();
  pdu += vb;
  return pdu;
}

// The allocations of one call of trap, and its result.
struct Sent {
  size_t allocations;
  int result;
};

// Below the class: only encoding and sending, with a socket that is open.
Sent send_counted(Pdu& pdu, CTarget& target) {
  int status = -99;
  Snmp session(status);
  EXPECT_EQ(status, SNMP_CLASS_SUCCESS);
  const size_t before = heap_allocations();
  const int result = session.trap(pdu, target);
  return {heap_allocations() - before, result};
}

TEST(Memory, EncodingAndSendingTakeNone) {
  const TrapReceiver receiver;
  Pdu pdu = full_pdu();
  CTarget target = target_of(receiver.destination());
  for (int trap = 0; trap < 3; ++trap) {
    const Sent sent = send_counted(pdu, target);
    EXPECT_EQ(sent.result, SNMP_CLASS_SUCCESS);
    EXPECT_EQ(sent.allocations, 0U);
    receiver.receive();
  }
}

TEST(Memory, ATrapThatIsTooBigTakesNone) {
  Pdu pdu = full_pdu();
  CTarget target = target_of("127.0.0.1:9");
  target.set_readcommunity(std::string(4000, 'c').c_str());
  Sent sent = send_counted(pdu, target);
  EXPECT_EQ(sent.result, SNMP_ERROR_TOO_BIG);
  EXPECT_EQ(sent.allocations, 0U);
  Vb vb(Oid("1.3.6.1.4.1.99.1"));
  vb.set_value(std::string(5000, 'x').c_str());
  pdu += vb;
  target.set_readcommunity("public");
  sent = send_counted(pdu, target);
  EXPECT_EQ(sent.result, SNMP_ERROR_TOO_BIG);
  EXPECT_EQ(sent.allocations, 0U);
}

TEST(Memory, ThatIsCountedIncludesBothWaysToGetSome) {
  const size_t before = heap_allocations();
  const std::string text(1000, 'x');
  EXPECT_EQ(heap_allocations() - before, 1U);
  // volatile: a compiler may leave out an allocation that nobody looks at.
  void* volatile block = std::malloc(10);
  std::free(block);
  EXPECT_EQ(heap_allocations() - before, 2U);
}

}  // namespace
}  // namespace Snmp_pp
