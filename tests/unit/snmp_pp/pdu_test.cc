// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <snmp_pp/snmp_pp.h>

#include <string>
#include <utility>
#include <vector>

namespace Snmp_pp {
namespace {

Vb numbered(int number) {
  Vb vb(Oid("1.3.6.1.4.1.99"));
  vb.set_value(number);
  return vb;
}

TEST(Pdu, StartsEmptyAndValid) {
  const Pdu pdu;
  EXPECT_TRUE(pdu.valid());
  EXPECT_EQ(pdu.get_vb_count(), 0);
  Oid id("1");
  Oid enterprise("1");
  TimeTicks timestamp(5);
  GenAddress address("10.0.0.5");
  pdu.get_notify_id(id);
  pdu.get_notify_enterprise(enterprise);
  pdu.get_notify_timestamp(timestamp);
  EXPECT_FALSE(id.valid());
  EXPECT_FALSE(enterprise.valid());
  EXPECT_EQ(timestamp, 0UL);
  EXPECT_FALSE(pdu.get_v1_trap_address(address));
  EXPECT_FALSE(address.valid());
}

TEST(Pdu, KeepsBindingsInOrderAsCopies) {
  Pdu pdu;
  Vb vb = numbered(1);
  pdu += vb;
  vb.set_value("second");
  pdu += vb;
  vb.set_value("changed");
  ASSERT_EQ(pdu.get_vb_count(), 2);
  Vb taken;
  EXPECT_TRUE(pdu.get_vb(taken, 0));
  EXPECT_STREQ(taken.get_printable_value(), "1");
  EXPECT_TRUE(pdu.get_vb(taken, 1));
  EXPECT_STREQ(taken.get_printable_value(), "second");
}

TEST(Pdu, HasNoBindingOutsideItsCount) {
  Pdu pdu;
  const Vb added = numbered(1);
  pdu += added;
  Vb taken = numbered(7);
  EXPECT_FALSE(pdu.get_vb(taken, 1));
  EXPECT_FALSE(pdu.get_vb(taken, -1));
  EXPECT_STREQ(taken.get_printable_value(), "7");
}

TEST(Pdu, Takes25BindingsAndDropsFurtherOnes) {
  Pdu pdu;
  for (int number = 0; number < 30; ++number) {
    const Vb vb = numbered(number);
    pdu += vb;
  }
  EXPECT_EQ(pdu.get_vb_count(), 25);
  Vb last;
  EXPECT_TRUE(pdu.get_vb(last, 24));
  EXPECT_STREQ(last.get_printable_value(), "24");
  EXPECT_TRUE(pdu.valid());
}

TEST(Pdu, AnInvalidBindingTakesNoPlace) {
  Pdu pdu;
  Vb without_name;
  without_name.set_value(1);
  Vb bad_value(Oid("1.3.6"));
  bad_value.set_value(IpAddress());
  for (int number = 0; number < 25; ++number) {
    pdu += without_name;
    pdu += bad_value;
    const Vb vb = numbered(number);
    pdu += vb;
  }
  EXPECT_EQ(pdu.get_vb_count(), 25);
  Vb last;
  EXPECT_TRUE(pdu.get_vb(last, 24));
  EXPECT_STREQ(last.get_printable_value(), "24");
  EXPECT_TRUE(pdu.valid());
}

TEST(Pdu, TakesBindingsOverInPlaceOfItsOwn) {
  Pdu pdu;
  pdu += numbered(99);
  std::vector<Vb> bindings;
  for (int number = 0; number < 30; ++number) {
    bindings.emplace_back();  // invalid
    bindings.push_back(numbered(number));
  }
  pdu.take_bindings(std::move(bindings));
  ASSERT_EQ(pdu.get_vb_count(), 25);
  EXPECT_STREQ(pdu.bindings().front().get_printable_value(), "0");
  EXPECT_STREQ(pdu.bindings().back().get_printable_value(), "24");
}

TEST(Pdu, StoresInvalidFieldsUnchecked) {
  Pdu pdu;
  pdu.set_notify_id(Oid("1.3.6"));
  pdu.set_notify_id(Oid("junk"));
  Oid id("1");
  pdu.get_notify_id(id);
  EXPECT_FALSE(id.valid());
  EXPECT_TRUE(pdu.valid());
}

TEST(Pdu, TakesAnyValidTrapAddress) {
  Pdu pdu;
  GenAddress address;
  for (const char* text : {"10.0.0.5", "0.0.0.0", "255.255.255.255"}) {
    EXPECT_TRUE(pdu.set_v1_trap_address(IpAddress(text)));
    EXPECT_TRUE(pdu.get_v1_trap_address(address));
    EXPECT_STREQ(address.get_printable(), text);
  }
}

TEST(Pdu, AnInvalidTrapAddressCountsAsNotSet) {
  Pdu pdu;
  EXPECT_TRUE(pdu.set_v1_trap_address(IpAddress("10.0.0.5")));
  EXPECT_FALSE(pdu.set_v1_trap_address(IpAddress()));
  GenAddress address;
  EXPECT_FALSE(pdu.get_v1_trap_address(address));
}

TEST(Pdu, CopiesAreDeepAndCarryEverything) {
  Pdu original;
  original.set_notify_id(Oid("1.3.6.1"));
  original.set_notify_timestamp(TimeTicks(12345));
  original.set_notify_enterprise(Oid("1.3.6.2"));
  EXPECT_TRUE(original.set_v1_trap_address(IpAddress("10.0.0.5")));
  const Vb vb = numbered(1);
  original += vb;
  const Pdu copy(original);
  Pdu assigned;
  assigned = original;
  original.set_notify_id(Oid());
  original.set_notify_timestamp(TimeTicks());
  original.set_notify_enterprise(Oid());
  original.set_v1_trap_address(IpAddress());
  original += vb;
  for (const Pdu& pdu : {copy, assigned}) {
    Oid id;
    Oid enterprise;
    TimeTicks timestamp;
    GenAddress address;
    pdu.get_notify_id(id);
    pdu.get_notify_enterprise(enterprise);
    pdu.get_notify_timestamp(timestamp);
    EXPECT_TRUE(pdu.get_v1_trap_address(address));
    EXPECT_EQ(id, Oid("1.3.6.1"));
    EXPECT_EQ(enterprise, Oid("1.3.6.2"));
    EXPECT_EQ(timestamp, 12345UL);
    EXPECT_STREQ(address.get_printable(), "10.0.0.5");
    EXPECT_EQ(pdu.get_vb_count(), 1);
  }
}

TEST(Pdu, TakesItsOwnBindingsAgain) {
  Pdu original;
  const Vb vb = numbered(1);
  original += vb;
  Pdu copy(original);
  for (int times = 0; times < 10; ++times) {
    copy += copy.bindings()[0];
  }
  ASSERT_EQ(copy.get_vb_count(), 11);
  for (const Vb& binding : copy.bindings()) {
    EXPECT_STREQ(binding.get_printable_value(), "1");
  }
}

}  // namespace
}  // namespace Snmp_pp
