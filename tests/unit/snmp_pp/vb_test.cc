// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <snmp_pp/snmp_pp.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace Snmp_pp {
namespace {

TEST(Vb, StartsInvalidWithoutNameAndValue) {
  const Vb vb;
  EXPECT_FALSE(vb.valid());
  EXPECT_EQ(vb.get_syntax(), 0x05U);
  EXPECT_STREQ(vb.get_printable_oid(), "");
  EXPECT_STREQ(vb.get_printable_value(), "");
}

TEST(Vb, WithANameAndNoValueIsValid) {
  const Vb vb(Oid("1.3.6"));
  EXPECT_TRUE(vb.valid());
  EXPECT_STREQ(vb.get_printable_oid(), "1.3.6");
  EXPECT_FALSE(Vb(Oid("junk")).valid());
}

TEST(Vb, EachValueHasItsKind) {
  Vb vb(Oid("1.3.6"));
  vb.set_value(-5);
  EXPECT_EQ(vb.get_syntax(), 0x02U);
  EXPECT_STREQ(vb.get_printable_value(), "-5");
  vb.set_value(4294967295L);
  EXPECT_EQ(vb.get_syntax(), 0x02U);
  EXPECT_STREQ(vb.get_printable_value(), "-1");
  vb.set_value(4294967295UL);
  EXPECT_EQ(vb.get_syntax(), 0x42U);
  EXPECT_STREQ(vb.get_printable_value(), "4294967295");
  vb.set_value("text\0more");
  EXPECT_EQ(vb.get_syntax(), 0x04U);
  EXPECT_STREQ(vb.get_printable_value(), "text");
  vb.set_value(static_cast<const char*>(nullptr));
  EXPECT_EQ(vb.get_syntax(), 0x04U);
  EXPECT_STREQ(vb.get_printable_value(), "");
  EXPECT_TRUE(vb.valid());
  vb.set_value(SnmpInt32(7));
  EXPECT_EQ(vb.get_syntax(), 0x02U);
  vb.set_value(OctetStr("octets"));
  EXPECT_STREQ(vb.get_printable_value(), "octets");
  vb.set_value(Oid("1.3"));
  EXPECT_EQ(vb.get_syntax(), 0x06U);
  vb.set_value(IpAddress("10.0.0.5"));
  EXPECT_EQ(vb.get_syntax(), 0x40U);
  vb.set_value(TimeTicks(5));
  EXPECT_EQ(vb.get_syntax(), 0x43U);
  vb.set_null();
  EXPECT_EQ(vb.get_syntax(), 0x05U);
  EXPECT_TRUE(vb.valid());
}

TEST(Vb, AnInvalidValueMakesItInvalidUntilReplaced) {
  Vb vb(Oid("1.3.6"));
  vb.set_value(IpAddress("junk:"));
  EXPECT_FALSE(vb.valid());
  vb.set_value(Oid());
  EXPECT_FALSE(vb.valid());
  vb.set_value(1);
  EXPECT_TRUE(vb.valid());
}

TEST(Vb, KeepsACopyOfTheValue) {
  Vb vb(Oid("1.3.6"));
  Oid value("1.2.3");
  vb.set_value(value);
  value += 4UL;
  EXPECT_STREQ(vb.get_printable_value(), "1.2.3");
}

TEST(Vb, HandsOutNameAndValue) {
  Vb vb;
  vb.set_oid(Oid("1.3.6"));
  vb.set_value(IpAddress("10.0.0.5"));
  Oid name;
  vb.get_oid(name);
  EXPECT_EQ(name, Oid("1.3.6"));
  IpAddress address;
  EXPECT_EQ(vb.get_value(address), SNMP_CLASS_SUCCESS);
  EXPECT_EQ(address, IpAddress("10.0.0.5"));
  SnmpInt32 number(5);
  EXPECT_EQ(vb.get_value(number), SNMP_CLASS_INVALID);
  EXPECT_EQ(number, 5);
  vb.set_null();
  EXPECT_EQ(vb.get_value(address), SNMP_CLASS_INVALID);
  EXPECT_TRUE(address.valid());
}

TEST(Vb, CanBeReused) {
  Vb vb(Oid("1.3.6"));
  vb.set_value("first");
  vb.set_oid(Oid("1.3.7"));
  EXPECT_STREQ(vb.get_printable_oid(), "1.3.7");
  EXPECT_STREQ(vb.get_printable_value(), "first");
  vb.set_value("second");
  EXPECT_STREQ(vb.get_printable_value(), "second");
}

TEST(Vb, CopiesAreDeep) {
  Vb original(Oid("1.3.6"));
  original.set_value("before");
  const Vb copy(original);
  Vb assigned;
  assigned = original;
  original.set_oid(Oid("1.3.7"));
  original.set_value("after");
  for (const Vb* vb : std::array<const Vb*, 2>{&copy, &assigned}) {
    EXPECT_STREQ(vb->get_printable_oid(), "1.3.6");
    EXPECT_STREQ(vb->get_printable_value(), "before");
  }
  const Vb& same = original;
  original = same;
  EXPECT_STREQ(original.get_printable_value(), "after");
}

TEST(Vb, ACopyWithoutAValueHasNone) {
  Vb assigned(Oid("1.3.6"));
  assigned.set_value(5);
  assigned = Vb(Oid("1.3.7"));
  EXPECT_EQ(assigned.get_syntax(), 0x05U);
  Vb invalid(Oid("1.3.6"));
  invalid.set_value(Oid());
  EXPECT_FALSE(Vb(invalid).valid());
}

TEST(Vb, TakesWhatMayGo) {
  const std::string text(1000, 'x');
  OctetStr octets(text.c_str());
  const unsigned char* place = octets.data();
  Vb vb(Oid("1.3.6"));
  vb.set_value(std::move(octets));
  EXPECT_EQ(dynamic_cast<const OctetStr&>(*vb.value()).data(), place);
  std::vector<Vb> bindings;
  bindings.push_back(std::move(vb));
  Pdu pdu;
  pdu.take_bindings(std::move(bindings));
  ASSERT_EQ(pdu.get_vb_count(), 1);
  EXPECT_EQ(dynamic_cast<const OctetStr&>(*pdu.bindings()[0].value()).data(), place);
  EXPECT_EQ(pdu.bindings()[0].name(), Oid("1.3.6"));
}

// What programs derive themselves keeps its own behaviour.
class OddGauge : public SnmpUInt32 {
 public:
  using SnmpUInt32::operator=;
  OddGauge* clone() const override { return new OddGauge(*this); }
  const char* get_printable() const override { return "odd"; }
};

TEST(Vb, KeepsAValueOfADerivedClassWhole) {
  Vb vb(Oid("1.3.6"));
  vb.set_value(OddGauge());
  EXPECT_STREQ(vb.get_printable_value(), "odd");
  const Vb copy(vb);
  Vb assigned;
  assigned = vb;
  vb.set_value(UdpAddress("10.0.0.5:1162"));
  EXPECT_STREQ(copy.get_printable_value(), "odd");
  EXPECT_STREQ(assigned.get_printable_value(), "odd");
  EXPECT_STREQ(vb.get_printable_value(), "10.0.0.5/1162");
  vb.set_value(GenAddress("10.0.0.5:1162"));
  EXPECT_STREQ(vb.get_printable_value(), "10.0.0.5/1162");
}

TEST(Vb, CanBeGivenItsOwnValue) {
  Vb vb(Oid("1.3.6"));
  vb.set_value(std::string(1000, 'x').c_str());
  vb.set_value(*vb.value());
  EXPECT_EQ(vb.get_printable_value(), std::string(1000, 'x'));
  vb.set_value(OddGauge());
  vb.set_value(*vb.value());
  EXPECT_STREQ(vb.get_printable_value(), "odd");
}

}  // namespace
}  // namespace Snmp_pp
