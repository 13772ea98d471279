// SPDX-License-Identifier: Apache-2.0
#include "ortinv/text_cut.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string cut(void (*function)(char*, int), std::string text, int length) {
  function(text.data(), length);
  return text.c_str();
}

TEST(CutAtNonAlnumTest, EndsTheTextAtTheFirstOtherCharacter) {
  EXPECT_EQ(cut(CutAtNonAlnum, "DL380 rack", 10), "DL380");
  EXPECT_EQ(cut(CutAtNonAlnum, "aZ09_", 5), "aZ09");
  EXPECT_EQ(cut(CutAtNonAlnum, "-x", 2), "");
}

TEST(CutAtNonAlnumTest, CutsOnceOnly) {
  std::string text = "a b c";
  CutAtNonAlnum(text.data(), 5);
  EXPECT_EQ(text, std::string("a\0b c", 5));
}

TEST(CutAtNonAlnumTest, TakesOnlyAsciiForLetters) {
  EXPECT_EQ(cut(CutAtNonAlnum,
                "stra\xDF"
                "e",
                6),
            "stra");
}

TEST(CutAtNonAlnumTest, TakesNoNeighbourOfALetterOrDigitForOne) {
  for (const char neighbour : {'/', ':', '@', '[', '`', '{'}) {
    EXPECT_EQ(cut(CutAtNonAlnum, std::string("a") + neighbour + "b", 3), "a") << neighbour;
  }
}

TEST(CutAtNonAlnumTest, LeavesWhatLiesBeyondTheLength) {
  EXPECT_EQ(cut(CutAtNonAlnum, "abc def", 3), "abc def");
  EXPECT_EQ(cut(CutAtNonAlnum, "abc def", 4), "abc");
}

TEST(CutAtParenTest, EndsTheTextAtTheFirstParenthesis) {
  EXPECT_EQ(cut(CutAtParen, "Xeon(R) CPU (x)", 15), "Xeon");
  EXPECT_EQ(cut(CutAtParen, "no parenthesis)", 15), "no parenthesis)");
}

TEST(CutAtParenTest, LeavesWhatLiesBeyondTheLength) {
  EXPECT_EQ(cut(CutAtParen, "abc(", 3), "abc(");
  EXPECT_EQ(cut(CutAtParen, "abc(", 4), "abc");
}

TEST(TextCutTest, DoesNothingForALengthBelowOneOrNoText) {
  for (const auto function : {CutAtNonAlnum, CutAtParen}) {
    EXPECT_EQ(cut(function, "(", 0), "(");
    EXPECT_EQ(cut(function, "(", -1), "(");
    function(nullptr, 5);
  }
}

TEST(TextCutTest, StopsAtTheEndOfTheText) {
  for (const auto function : {CutAtNonAlnum, CutAtParen}) {
    std::string text("abc\0(d", 6);
    function(text.data(), 1000);
    EXPECT_EQ(text, std::string("abc\0(d", 6));
  }
}

}  // namespace
