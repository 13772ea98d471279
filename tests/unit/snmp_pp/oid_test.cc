// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <snmp_pp/oid.h>

#include <array>
#include <memory>
#include <string>

namespace Snmp_pp {
namespace {

TEST(OidText, PlainTextsYieldTheirArcs) {
  const Oid oid("1.3.6.1.4.1.99");
  EXPECT_TRUE(oid.valid());
  EXPECT_EQ(oid.len(), 7U);
  EXPECT_EQ(oid[0], 1U);
  EXPECT_EQ(oid[6], 99U);
  EXPECT_EQ(oid[7], 0U);
  EXPECT_STREQ(oid.get_printable(), "1.3.6.1.4.1.99");
  EXPECT_EQ(oid.get_syntax(), 0x06U);
}

TEST(OidText, ALeadingDotAndEmptyPiecesAreSkipped) {
  EXPECT_EQ(Oid(".1.3"), Oid("1.3"));
  EXPECT_EQ(Oid("1.3."), Oid("1.3"));
  EXPECT_EQ(Oid("1..2"), Oid("1.2"));
  EXPECT_EQ(Oid("..1...3.."), Oid("1.3"));
  EXPECT_EQ(Oid("0"), Oid("00."));
  EXPECT_TRUE(Oid("0").valid());
}

TEST(OidText, AnyOtherCharacterMakesTheWholeTextInvalid) {
  for (const char* text : {"1.3.6.1.4.1.-1", "1.3.6.1.4.1.+1", "1.3 ", " 1.3", "1.3\n", "1.3a",
                           "a1.3", "iso.3", "$text$", "1.3.$text$", "1,3", "1.3/", "1.\xB9"}) {
    const Oid oid(text);
    EXPECT_FALSE(oid.valid()) << text;
    EXPECT_EQ(oid.len(), 0U) << text;
    EXPECT_STREQ(oid.get_printable(), "") << text;
  }
}

TEST(OidText, TextsWithoutArcsAreInvalid) {
  for (const char* text : {"", ".", "..", static_cast<const char*>(nullptr)}) {
    EXPECT_FALSE(Oid(text).valid());
    EXPECT_EQ(Oid(text).len(), 0U);
  }
}

TEST(OidText, ArcsHave32Bits) {
  EXPECT_EQ(Oid("1.4294967295")[1], 4294967295U);
  EXPECT_EQ(Oid("1.4294967296")[1], 0U);
  EXPECT_EQ(Oid("1.4294967303")[1], 7U);
  EXPECT_TRUE(Oid("1.99999999999999999999999999").valid());
}

TEST(Oid, StartsInvalidAndWithoutArcs) {
  const Oid oid;
  EXPECT_FALSE(oid.valid());
  EXPECT_EQ(oid.len(), 0U);
  EXPECT_EQ(oid[0], 0U);
}

TEST(Oid, RawArcsAreCopiedAndNarrowedTo32Bits) {
  std::array<unsigned long, 3> arcs = {1, 3, 0xFFFFFFFF00000007};
  const Oid oid(arcs.data(), 3);
  arcs[0] = 9;
  EXPECT_EQ(oid, Oid("1.3.7"));
  EXPECT_EQ(Oid(arcs.data(), 1), Oid("9"));
  EXPECT_FALSE(Oid(arcs.data(), 0).valid());
  EXPECT_FALSE(Oid(arcs.data(), -1).valid());
  EXPECT_FALSE(Oid(static_cast<const unsigned long*>(nullptr), 3).valid());
}

TEST(Oid, NeitherTheFirstArcsNorTheLengthAreChecked) {
  EXPECT_TRUE(Oid("9.99").valid());
  std::string text = "1";
  for (int arc = 0; arc < 999; ++arc) {
    text += ".3";
  }
  EXPECT_EQ(Oid(text.c_str()).len(), 1000U);
}

TEST(Oid, AssigningATextReplacesWhatWasThere) {
  Oid oid("1.3.6");
  oid = "1.2";
  EXPECT_EQ(oid, Oid("1.2"));
  oid = "junk";
  EXPECT_FALSE(oid.valid());
  oid = "1.3";
  oid = static_cast<const char*>(nullptr);
  EXPECT_FALSE(oid.valid());
}

TEST(Oid, ItsOwnPrintableFormCanBeAssigned) {
  Oid oid("1.3.6.1.4.1.99");
  oid = oid.get_printable();
  EXPECT_EQ(oid, Oid("1.3.6.1.4.1.99"));
}

TEST(Oid, ArcsOidsAndTextsAreAppended) {
  Oid oid("1.3");
  oid += 6UL;
  oid += Oid("1.4");
  oid += ".1.99";
  EXPECT_EQ(oid, Oid("1.3.6.1.4.1.99"));
  oid += oid;
  EXPECT_EQ(oid, Oid("1.3.6.1.4.1.99.1.3.6.1.4.1.99"));
}

TEST(Oid, AppendingATextThatDoesNotParseLeavesNoArcs) {
  Oid oid("1.3");
  oid += "";
  oid += static_cast<const char*>(nullptr);
  EXPECT_EQ(oid, Oid("1.3"));
  oid += "6.x";
  EXPECT_FALSE(oid.valid());
}

TEST(Oid, TrimDropsArcsFromTheEnd) {
  Oid oid("1.3.6.1.4");
  oid.trim();
  EXPECT_EQ(oid, Oid("1.3.6.1"));
  oid.trim(0);
  EXPECT_EQ(oid, Oid("1.3.6.1"));
  oid.trim(3);
  EXPECT_EQ(oid, Oid("1"));
  oid.trim(5);
  EXPECT_FALSE(oid.valid());
  oid.trim();
  EXPECT_EQ(oid.len(), 0U);
}

TEST(Oid, EqualMeansTheSameArcs) {
  EXPECT_TRUE(Oid("1.3.6") == Oid(".1.3.6."));
  EXPECT_FALSE(Oid("1.3.6") == Oid("1.3"));
  EXPECT_TRUE(Oid("1.3.6") != Oid("1.3.7"));
  EXPECT_TRUE(Oid() == Oid("junk"));
}

TEST(Oid, CopiesAreDeep) {
  Oid original("1.3.6");
  const Oid copy(original);
  Oid assigned;
  assigned = original;
  const std::unique_ptr<SnmpSyntax> clone(original.clone());
  original += 9UL;
  EXPECT_EQ(copy, Oid("1.3.6"));
  EXPECT_EQ(assigned, Oid("1.3.6"));
  EXPECT_STREQ(clone->get_printable(), "1.3.6");
  EXPECT_EQ(original, Oid("1.3.6.9"));
}

TEST(Oid, ACopyOfAnInvalidObjectIsInvalid) {
  const Oid invalid("junk");
  Oid assigned("1.3");
  assigned = invalid;
  EXPECT_FALSE(assigned.valid());
  EXPECT_FALSE(std::unique_ptr<SnmpSyntax>(invalid.clone())->valid());
}

TEST(Oid, ACopyDoesNotShareThePrintedText) {
  const Oid original("1.3.6");
  const char* printed = original.get_printable();
  const Oid copy(original);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_STREQ(copy.get_printable(), "1.3.6");
  EXPECT_NE(copy.get_printable(), printed);
  EXPECT_STREQ(printed, "1.3.6");
}

}  // namespace
}  // namespace Snmp_pp
