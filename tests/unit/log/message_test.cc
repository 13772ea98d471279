// Formatting into 512 bytes, and making the result safe to be a format.
#include "log/message.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <string>

namespace {

[[gnu::format(printf, 1, 2)]] Message formatted(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const Message message = format_message(format, arguments);
  va_end(arguments);
  return message;
}

TEST(Message, IsZeroToItsEnd) {
  const Message message = formatted("%s", "abc");
  EXPECT_STREQ(message.data(), "abc");
  EXPECT_TRUE(std::all_of(message.begin() + 3, message.end(), [](char c) { return c == '\0'; }));
}

TEST(Message, IsCutTo511Characters) {
  const Message message = formatted("%s", std::string(512, 'x').c_str());
  EXPECT_EQ(std::string(message.data()), std::string(511, 'x'));
}

TEST(Message, IsEmptyWhenItCannotBeFormatted) {
  const wchar_t not_in_this_locale[] = {0x20AC, 0};
  EXPECT_STREQ(formatted("before %ls", not_in_this_locale).data(), "");
}

struct Expansion {
  const char* message;
  const char* format;
};

class MessageAsFormat : public testing::TestWithParam<Expansion> {};

TEST_P(MessageAsFormat, DoublesWhatWouldFetchAnArgument) {
  const MessageFormat format = as_format(formatted("%s", GetParam().message));
  EXPECT_STREQ(format.data(), GetParam().format);
}

INSTANTIATE_TEST_SUITE_P(Texts, MessageAsFormat,
                         testing::Values(Expansion{"plain", "plain"}, Expansion{"%%", "%%"},
                                         Expansion{"%m", "%m"}, Expansion{"%n", "%%n"},
                                         Expansion{"%s%d", "%%s%%d"}, Expansion{"%*d", "%%*d"},
                                         Expansion{"%", "%%"}, Expansion{"%%%", "%%%%"},
                                         Expansion{"%%%m", "%%%m"}, Expansion{"%%n", "%%n"},
                                         Expansion{"%5%", "%%5%%"}, Expansion{"%5%n", "%%5%%n"},
                                         Expansion{"%5m", "%%5m"}, Expansion{"", ""}));

TEST(MessageFormat, HoldsTheLongestMessageDoubled) {
  std::string text;
  for (int i = 0; i < 255; ++i) {
    text += "%x";
  }
  text += "%";
  const MessageFormat format = as_format(formatted("%s", text.c_str()));
  EXPECT_EQ(std::string(format.data()).size(), 511U + 256U);
}

}  // namespace
