// One log message on its way to syslog: a bounded text, made safe to be used as
// a format.
#ifndef TVUREV_LOG_MESSAGE_H_
#define TVUREV_LOG_MESSAGE_H_

#include <array>
#include <cstdarg>
#include <cstddef>

inline constexpr size_t kMessageSize = 512;

// Holds a message and its terminating zero.
using Message = std::array<char, kMessageSize>;

// Holds any Message after every one of its characters was doubled.
using MessageFormat = std::array<char, 2 * kMessageSize>;

// Formats into a zeroed Message, cut to 511 characters. A format that cannot be
// expanded gives an empty message.
[[gnu::format(printf, 1, 0)]] Message format_message(const char* format, va_list arguments);

// Turns a finished message into a format that fetches no arguments: "%%" and
// "%m" stay as they are, and the percent sign of anything else is doubled, so
// that it is printed as it stands. A "%n" from outside can thus not write
// memory, and a "%999999999m" cannot claim it.
MessageFormat as_format(const Message& message);

#endif  // TVUREV_LOG_MESSAGE_H_
