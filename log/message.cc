#include "log/message.h"

#include <cstdio>

Message format_message(const char* format, va_list arguments) {
  Message message = {};
  // A text that cannot be formatted is lost, but not the caller.
  if (vsnprintf(message.data(), message.size(), format, arguments) < 0) {
    message[0] = '\0';
  }
  return message;
}

MessageFormat as_format(const Message& message) {
  MessageFormat format = {};
  size_t out = 0;
  for (size_t in = 0; message[in] != '\0'; ++in) {
    format[out++] = message[in];
    if (message[in] != '%') {
      continue;
    }
    // A percent sign at the end meets the terminating zero here, and is doubled.
    const char conversion = message[in + 1];
    if (conversion == '%' || conversion == 'm') {
      format[out++] = conversion;
      ++in;
    } else {
      format[out++] = '%';
    }
  }
  return format;
}
