// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SplitWords, SplitsAtBlanksAndTabs) {
  EXPECT_THAT(split_words("  notify\t1.3.6.1  a=b ").words,
              ElementsAre("notify", "1.3.6.1", "a=b"));
}

TEST(SplitWords, AnEmptyLineHasNoWords) {
  EXPECT_THAT(split_words(" \r").words, IsEmpty());
}

TEST(SplitWords, ACommentBeginsAtAWordOnly) {
  EXPECT_THAT(split_words("log a#b # the rest").words, ElementsAre("log", "a#b"));
}

TEST(SplitWords, QuotesKeepBlanksInsideAWord) {
  EXPECT_THAT(split_words("log reason=\"two words\"!").words,
              ElementsAre("log", "reason=two words!"));
}

TEST(SplitWords, EmptyQuotesAreAWord) {
  EXPECT_THAT(split_words("log \"\"").words, ElementsAre("log", ""));
}

TEST(SplitWords, KnowsItsEscapes) {
  EXPECT_THAT(split_words(R"("a\\b\"c\n\t\x41\x00z")").words,
              ElementsAre(std::string("a\\b\"c\n\tA\0z", 10)));
}

TEST(SplitWords, AnUnknownEscapeIsAnError) {
  EXPECT_EQ(split_words(R"(log "a\qb")").error, "unknown escape \\q");
  EXPECT_EQ(split_words(R"(log "a\x4")").error, "unknown escape \\x");
}

TEST(SplitWords, AMissingQuoteIsAnError) {
  EXPECT_EQ(split_words("log \"abc").error, "no closing quote");
}

TEST(ParseNumber, ReadsDecimalAndHexadecimalUpToALimit) {
  EXPECT_EQ(parse_number("255", 255), 255U);
  EXPECT_EQ(parse_number("0xFF", 255), 255U);
  EXPECT_EQ(parse_number("256", 255), std::nullopt);
  EXPECT_EQ(parse_number("", 255), std::nullopt);
  EXPECT_EQ(parse_number("0x", 255), std::nullopt);
  EXPECT_EQ(parse_number("12a", 255), std::nullopt);
  EXPECT_EQ(parse_number("-1", 255), std::nullopt);
  EXPECT_EQ(parse_number("18446744073709551615", UINT64_MAX), UINT64_MAX);
  EXPECT_EQ(parse_number("18446744073709551616", UINT64_MAX), std::nullopt);
}

TEST(ParseWord, ReadsBothSigns) {
  EXPECT_EQ(parse_word("-1"), 0xFFFFFFFFU);
  EXPECT_EQ(parse_word("-2147483648"), 0x80000000U);
  EXPECT_EQ(parse_word("-2147483649"), std::nullopt);
  EXPECT_EQ(parse_word("4294967295"), 0xFFFFFFFFU);
  EXPECT_EQ(parse_word("-"), std::nullopt);
  EXPECT_EQ(parse_word("x"), std::nullopt);
}

TEST(ParseOid, ReadsDottedNumbers) {
  EXPECT_THAT(parse_oid("1.3.6.1.4294967295").value(), ElementsAre(1, 3, 6, 1, 4294967295));
  EXPECT_THAT(parse_oid(".1.3").value(), ElementsAre(1, 3));
  for (const char* wrong : {"", "1..3", "1.3.", "1.x", "0x1.3", "1.4294967296", "a"}) {
    EXPECT_EQ(parse_oid(wrong), std::nullopt) << wrong;
  }
}

TEST(ParseHex, SkipsSeparatorsBetweenPairs) {
  EXPECT_THAT(parse_hex("0a:FF-00 7f").value(), ElementsAre(0x0A, 0xFF, 0x00, 0x7F));
  EXPECT_THAT(parse_hex("").value(), IsEmpty());
  EXPECT_EQ(parse_hex("abc"), std::nullopt);
  EXPECT_EQ(parse_hex("0g"), std::nullopt);
}

TEST(Quoted, SplitWordsGivesTheSameBytesBack) {
  Bytes every;
  for (int value = 0; value < 256; ++value) {
    every.push_back(static_cast<uint8_t>(value));
  }
  EXPECT_THAT(split_words(quoted(every)).words,
              ElementsAre(std::string(every.begin(), every.end())));
}

TEST(ParseAddresses, ReadsBothFamilies) {
  EXPECT_THAT(parse_ipv4("192.0.2.7").value(), ElementsAre(192, 0, 2, 7));
  EXPECT_EQ(parse_ipv4("192.0.2"), std::nullopt);
  EXPECT_EQ(parse_ipv6("2001:db8::1")->at(15), 1);
  EXPECT_EQ(parse_ipv6("192.0.2.7"), std::nullopt);
}
