// SPDX-License-Identifier: Apache-2.0
// How a call of the C library is written down: the same text for the step that
// a test expects and for the call that comes, so that comparing is comparing
// text and a difference can be read.
#ifndef TVUREV_TESTS_SUPPORT_CALL_TEXT_H_
#define TVUREV_TESTS_SUPPORT_CALL_TEXT_H_

#include <sys/socket.h>

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

std::string quoted(std::string_view text);
std::string open_flags_text(int flags);
std::string poll_events_text(short events);
std::string address_text(const sockaddr* address, socklen_t length);
// Hexadecimal, two digits a byte, blanks between.
std::string bytes_text(std::span<const uint8_t> bytes);

inline std::string argument_text(std::string_view text) {
  return std::string(text);
}
std::string argument_text(std::integral auto number) {
  return std::to_string(number);
}

// name(argument, argument...)
template <typename... Arguments>
std::string call_text(std::string_view name, const Arguments&... arguments) {
  std::string text;
  ((text += (text.empty() ? "" : ", ") + argument_text(arguments)), ...);
  return std::string(name) + "(" + text + ")";
}

#endif  // TVUREV_TESTS_SUPPORT_CALL_TEXT_H_
