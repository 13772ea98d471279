// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <snmp_pp/octet.h>

#include <array>
#include <climits>
#include <memory>
#include <new>
#include <string>

namespace Snmp_pp {
namespace {

TEST(OctetStr, EmptyAndNullTextsAreEmptyAndValid) {
  for (const OctetStr& string :
       {OctetStr(), OctetStr(""), OctetStr(static_cast<const char*>(nullptr)),
        OctetStr(static_cast<const unsigned char*>(nullptr), 5)}) {
    EXPECT_TRUE(string.valid());
    EXPECT_EQ(string.len(), 0U);
    EXPECT_STREQ(string.get_printable(), "");
    EXPECT_EQ(string.get_syntax(), 0x04U);
  }
}

TEST(OctetStr, ATextEndsAtItsZero) {
  const OctetStr string("ab\0cd");
  EXPECT_EQ(string.len(), 2U);
  EXPECT_EQ(string.data()[1], 'b');
  EXPECT_STREQ(string.get_printable(), "ab");
}

TEST(OctetStr, RawOctetsKeepZerosAndEveryValue) {
  std::array<unsigned char, 256> octets{};
  for (size_t value = 0; value < octets.size(); ++value) {
    octets[value] = static_cast<unsigned char>(value);
  }
  const OctetStr string(octets.data(), octets.size());
  ASSERT_EQ(string.len(), 256U);
  for (size_t value = 0; value < octets.size(); ++value) {
    EXPECT_EQ(string.data()[value], value);
  }
}

TEST(OctetStr, OctetsThatAreNoTextPrintAsHexadecimal) {
  const std::array<unsigned char, 3> octets = {0x00, 0x7F, 0xFF};
  EXPECT_STREQ(OctetStr(octets.data(), octets.size()).get_printable(), "00 7f ff");
  EXPECT_STREQ(OctetStr("a\n").get_printable(), "61 0a");
  EXPECT_STREQ(OctetStr("a ~").get_printable(), "a ~");
}

TEST(OctetStr, ThereIsNoLimitOfLength) {
  const std::string text(100'000, 'x');
  EXPECT_EQ(OctetStr(text.c_str()).len(), 100'000U);
}

TEST(OctetStr, WithoutMemoryItThrows) {
  const unsigned char octet = 'x';
  EXPECT_THROW(OctetStr(&octet, ULONG_MAX), std::bad_alloc);
}

TEST(OctetStr, CopiesAreDeep) {
  OctetStr original("before");
  const OctetStr copy(original);
  OctetStr assigned;
  assigned = original;
  const std::unique_ptr<SnmpSyntax> clone(original.clone());
  EXPECT_NE(copy.data(), original.data());
  EXPECT_NE(assigned.data(), original.data());
  original = "after";
  EXPECT_EQ(copy, OctetStr("before"));
  EXPECT_EQ(assigned, OctetStr("before"));
  EXPECT_STREQ(clone->get_printable(), "before");
  EXPECT_STREQ(original.get_printable(), "after");
}

TEST(OctetStr, AssigningItselfKeepsTheOctets) {
  OctetStr string("text");
  const OctetStr& same = string;
  string = same;
  EXPECT_EQ(string, OctetStr("text"));
}

}  // namespace
}  // namespace Snmp_pp
