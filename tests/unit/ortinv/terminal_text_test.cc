// SPDX-License-Identifier: Apache-2.0
#include "ortinv/terminal_text.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "ortinv/character_width.h"

namespace {

TEST(TerminalText, LeavesWhatIsHarmlessAlone) {
  const std::string text = "Sm\u00F8rrebr\u00F8d \u6F22\u5B57 e\u0301 \U0001F600 \\ \"";
  EXPECT_EQ(terminal_text(text), text);
  EXPECT_EQ(terminal_text(""), "");
}

TEST(TerminalText, EscapesControlCharactersAlsoAsUtf8) {
  EXPECT_EQ(terminal_text(std::string("a\0b", 3)), "a\\x00b");
  EXPECT_EQ(terminal_text("\t\n\x1B[0m\x7F"), "\\x09\\x0a\\x1b[0m\\x7f");
  EXPECT_EQ(terminal_text("\xC2\x80|\xC2\x9B|\xC2\x9F|\xC2\xA0"), "\\x80|\\x9b|\\x9f|\xC2\xA0");
}

TEST(TerminalText, EscapesEachByteThatIsNoUtf8) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"\x9B", "\\x9b"},                             // a lone continuation
      {"\xFF\xFE", "\\xff\\xfe"},                    // never in UTF-8
      {"\xC3", "\\xc3"},                             // cut short
      {"\xC3(", "\\xc3("},                           // broken off
      {"\xE6\xBC", "\\xe6\\xbc"},                    // cut short
      {"\xC0\xAF", "\\xc0\\xaf"},                    // longer than need be
      {"\xE0\x82\x9B", "\\xe0\\x82\\x9b"},           // the same, of a control character
      {"\xED\xA0\x80", "\\xed\\xa0\\x80"},           // half of a pair
      {"\xF4\x90\x80\x80", "\\xf4\\x90\\x80\\x80"},  // above the last character
      {"\xF8\x88\x80\x80\x80", "\\xf8\\x88\\x80\\x80\\x80"}};
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(terminal_text(text), expected);
  }
}

TEST(TerminalText, EscapesWhatTurnsOrBreaksALine) {
  EXPECT_EQ(terminal_text("a\u202Eb\u2066c\u2028d\u200Fe"), "a\\u202eb\\u2066c\\u2028d\\u200fe");
}

TEST(TerminalColumns, CountsWhatIsSeen) {
  EXPECT_EQ(terminal_columns("plain"), 5U);
  EXPECT_EQ(terminal_columns("\u00FC\u03B1\u0416"), 3U);
  EXPECT_EQ(terminal_columns("e\u0301"), 1U);
  EXPECT_EQ(terminal_columns("\u6F22\u5B57"), 4U);
  EXPECT_EQ(terminal_columns("\uAC00\uFF21\U0001F600"), 6U);
  EXPECT_EQ(terminal_columns("a\u200Bb"), 2U);
  EXPECT_EQ(terminal_columns("\xFF\xC3"), 2U);
}

TEST(CharacterWidth, KnowsTheEndsOfItsRanges) {
  EXPECT_EQ(character_width(0x02FF), 1U);
  EXPECT_EQ(character_width(0x0300), 0U);
  EXPECT_EQ(character_width(0x036F), 0U);
  EXPECT_EQ(character_width(0x0370), 1U);
  EXPECT_EQ(character_width(0x10FF), 1U);
  EXPECT_EQ(character_width(0x1100), 2U);
  EXPECT_EQ(character_width(0x3FFFD), 2U);
  EXPECT_EQ(character_width(0x3FFFE), 1U);
  EXPECT_EQ(character_width(0xE01EF), 0U);
  EXPECT_EQ(character_width(0x10FFFF), 1U);
}

}  // namespace
