// SPDX-License-Identifier: Apache-2.0
// Formatting into 512 bytes, and the second expansion.
#include "log/message.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdarg>
#include <string>
#include <string_view>

namespace {

[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...) {
  Message message;
  va_list arguments;
  va_start(arguments, format);
  const std::string text(format_message(message, format, arguments));
  va_end(arguments);
  return text;
}

TEST(Message, IsItsText) {
  EXPECT_EQ(formatted("%s %d", "abc", 4), "abc 4");
}

TEST(Message, IsCutTo511Characters) {
  EXPECT_EQ(formatted("%s", std::string(512, 'x').c_str()), std::string(511, 'x'));
  EXPECT_EQ(formatted("%s", std::string(511, 'x').c_str()), std::string(511, 'x'));
}

TEST(Message, IsEmptyWhenItCannotBeFormatted) {
  const wchar_t not_in_this_locale[] = {0x20AC, 0};
  EXPECT_EQ(formatted("before %ls", not_in_this_locale), "");
}

struct Expansion {
  const char* message;
  const char* expanded;
};

class MessageExpansion : public testing::TestWithParam<Expansion> {};

TEST_P(MessageExpansion, KnowsDoublePercentSignsAndErrnoOnly) {
  ExpandedMessage expanded;
  EXPECT_EQ(expand_message(GetParam().message, EBUSY, expanded), GetParam().expanded);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, MessageExpansion,
    testing::Values(Expansion{"plain", "plain"}, Expansion{"%%", "%"},
                    Expansion{"%m", "Device or resource busy"}, Expansion{"%n", "%n"},
                    Expansion{"%s%d", "%s%d"}, Expansion{"%*d", "%*d"}, Expansion{"%", "%"},
                    Expansion{"%%%", "%%"}, Expansion{"%%%m", "%Device or resource busy"},
                    Expansion{"%%n", "%n"}, Expansion{"%%m", "%m"}, Expansion{"%5%", "%5%"},
                    Expansion{"%5%n", "%5%n"}, Expansion{"%5m", "%5m"}, Expansion{"", ""}));

TEST(MessageExpansion, HoldsAMessageOfNothingButErrno) {
  std::string message;
  std::string expected;
  for (int i = 0; i < 255; ++i) {
    message += "%m";
    expected += "Invalid or incomplete multibyte or wide character";  // EILSEQ, a long one
  }
  ExpandedMessage expanded;
  EXPECT_EQ(expand_message(message, EILSEQ, expanded), expected);
}

std::string escaped(std::string_view message) {
  Message printable;
  return escape_controls(message, printable);
}

TEST(EscapedMessage, KeepsWhatCanBePrintedAndItsLineEnd) {
  EXPECT_EQ(escaped("plain \\ % ~ \xc3\xa9\n"), "plain \\ % ~ \xc3\xa9\n");
  EXPECT_EQ(escaped(""), "");
}

TEST(EscapedMessage, ShowsEveryOtherControlCharacter) {
  EXPECT_EQ(escaped("\x01\t\x1f\x7f\n\r\n"), "\\x01\\x09\\x1f\\x7f\\x0a\\x0d\n");
  EXPECT_EQ(escaped({"a\0b", 3}), "a\\x00b");
}

TEST(EscapedMessage, IsCutBetweenGroups) {
  EXPECT_EQ(escaped(std::string(511, 'x')), std::string(511, 'x'));
  EXPECT_EQ(escaped(std::string(508, 'x') + "\x1b"), std::string(508, 'x'));
  EXPECT_EQ(escaped(std::string(507, 'x') + "\x1b"), std::string(507, 'x') + "\\x1b");
}

}  // namespace
