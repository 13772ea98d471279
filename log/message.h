// SPDX-License-Identifier: Apache-2.0
// One log message on its way to the log: a bounded text, expanded a second time
// without harm.
#ifndef TVUREV_LOG_MESSAGE_H_
#define TVUREV_LOG_MESSAGE_H_

#include <array>
#include <cstdarg>
#include <cstddef>
#include <span>
#include <string_view>

inline constexpr size_t kMessageSize = 512;

// Holds a message and its terminating zero.
using Message = std::array<char, kMessageSize>;

// Formats into area, cut to what it holds less a terminating zero, and returns
// the text. A format that cannot be expanded gives an empty one.
[[gnu::format(printf, 2, 0)]] std::string_view format_message(std::span<char> area,
                                                              const char* format,
                                                              va_list arguments);

// Room for a message that is nothing but "%m".
using ExpandedMessage = std::array<char, size_t{16} * 1024>;

// Expands a finished message once more, as it would be when it were a format:
// "%%" becomes one percent sign and "%m" the text of error. Every other percent
// sign stays as it is, so that a "%n" from outside cannot write memory, and a
// "%999999999m" cannot claim it. Returns the text: message itself when there is
// nothing to expand, else what was written to expanded.
std::string_view expand_message(std::string_view message, int error, ExpandedMessage& expanded);

// Writes the message to printable with each control character as a backslash and
// two hexadecimal digits ("\x1b"), so that text from outside can neither forge a
// line nor steer a terminal; a line end that ends the message stays. Cut to what
// printable holds, never within such a group. Returns the terminated text.
const char* escape_controls(std::string_view message, Message& printable);

#endif  // TVUREV_LOG_MESSAGE_H_
