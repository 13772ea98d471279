// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <snmp_pp/integer.h>
#include <snmp_pp/octet.h>
#include <snmp_pp/timetick.h>

#include <memory>

namespace Snmp_pp {
namespace {

TEST(SnmpInt32, CarriesTheLow32BitsAsSigned) {
  EXPECT_EQ(SnmpInt32(), 0);
  EXPECT_TRUE(SnmpInt32().valid());
  EXPECT_EQ(SnmpInt32().get_syntax(), 0x02U);
  EXPECT_EQ(SnmpInt32(2147483647L), 2147483647);
  EXPECT_EQ(SnmpInt32(4294967295L), -1);
  EXPECT_EQ(SnmpInt32(2147483648L), -2147483648L);
  EXPECT_STREQ(SnmpInt32(-5L).get_printable(), "-5");
  SnmpInt32 value;
  value = 0x700000001L;
  EXPECT_EQ(value, 1);
}

TEST(SnmpUInt32, PrintsItsLow32Bits) {
  EXPECT_TRUE(SnmpUInt32().valid());
  EXPECT_EQ(SnmpUInt32().get_syntax(), 0x42U);
  EXPECT_STREQ(SnmpUInt32(4294967295UL).get_printable(), "4294967295");
  EXPECT_STREQ(SnmpUInt32(0xFFFFFFFF80000000).get_printable(), "2147483648");
}

TEST(TimeTicks, StartAtZeroAndAreValid) {
  const TimeTicks ticks;
  EXPECT_TRUE(ticks.valid());
  EXPECT_EQ(ticks, 0UL);
  EXPECT_EQ(ticks.get_syntax(), 0x43U);
}

TEST(TimeTicks, ASignExtendedValueIsKept) {
  TimeTicks ticks(7);
  ticks = static_cast<unsigned long>(static_cast<int>(0x80000000U));
  EXPECT_EQ(ticks, 0xFFFFFFFF80000000UL);
  EXPECT_TRUE(ticks.valid());
}

TEST(TimeTicks, PrintAsTimeOfTheirLow32Bits) {
  EXPECT_STREQ(TimeTicks().get_printable(), "0:00:00.00");
  EXPECT_STREQ(TimeTicks(12345).get_printable(), "0:02:03.45");
  EXPECT_STREQ(TimeTicks(8640000).get_printable(), "1 day 0:00:00.00");
  EXPECT_STREQ(TimeTicks(4294967295).get_printable(), "497 days 2:27:52.95");
  EXPECT_STREQ(TimeTicks(0xFFFFFFFF00000001).get_printable(), "0:00:00.01");
}

TEST(Integers, CopiesAreDeep) {
  SnmpInt32 number(5);
  TimeTicks ticks(6);
  SnmpUInt32 gauge(7);
  const SnmpInt32 number_copy(number);
  const TimeTicks ticks_copy(ticks);
  const SnmpUInt32 gauge_copy(gauge);
  const std::unique_ptr<SnmpSyntax> number_clone(number.clone());
  const std::unique_ptr<SnmpSyntax> ticks_clone(ticks.clone());
  const std::unique_ptr<SnmpSyntax> gauge_clone(gauge.clone());
  number = 1;
  ticks = 1;
  gauge = 1;
  EXPECT_EQ(number_copy, 5);
  EXPECT_EQ(ticks_copy, 6UL);
  EXPECT_EQ(gauge_copy, 7UL);
  EXPECT_STREQ(number_clone->get_printable(), "5");
  EXPECT_EQ(ticks_clone->get_syntax(), 0x43U);
  EXPECT_STREQ(ticks_clone->get_printable(), "0:00:00.06");
  EXPECT_STREQ(gauge_clone->get_printable(), "7");
}

TEST(Integers, TakeTheNumberOfOneAnother) {
  SnmpInt32 number(-1);
  TimeTicks ticks;
  const SnmpSyntax& signed_value = number;
  ticks = signed_value;
  EXPECT_EQ(ticks, 0xFFFFFFFFFFFFFFFFUL);
  const TimeTicks source(0x80000000);
  const SnmpSyntax& unsigned_value = source;
  number = unsigned_value;
  EXPECT_EQ(number, -2147483648L);
  SnmpUInt32 gauge;
  gauge = unsigned_value;
  EXPECT_EQ(gauge, 0x80000000UL);
}

TEST(Integers, BecomeZeroFromAValueOfAnotherKind) {
  const OctetStr text("5");
  const SnmpSyntax& other = text;
  SnmpInt32 number(5);
  TimeTicks ticks(5);
  SnmpUInt32 gauge(5);
  number = other;
  ticks = other;
  gauge = other;
  EXPECT_EQ(number, 0);
  EXPECT_EQ(ticks, 0UL);
  EXPECT_EQ(gauge, 0UL);
  EXPECT_TRUE(number.valid() && ticks.valid() && gauge.valid());
}

}  // namespace
}  // namespace Snmp_pp
