// SPDX-License-Identifier: Apache-2.0
#include "log/message.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

std::string_view format_message(std::span<char> area, const char* format, va_list arguments) {
  const int length = vsnprintf(area.data(), area.size(), format, arguments);
  if (length < 0) {
    return {};
  }
  return {area.data(), std::min(static_cast<size_t>(length), area.size() - 1)};
}

std::string_view expand_message(std::string_view message, int error, ExpandedMessage& expanded) {
  if (message.find('%') == std::string_view::npos) {
    return message;
  }
  size_t length = 0;
  const auto append = [&](std::string_view text) {
    length += text.copy(expanded.data() + length, expanded.size() - length);
  };
  while (!message.empty()) {
    size_t taken = 1;
    if (message.starts_with("%%")) {
      append("%");
      taken = 2;
    } else if (message.starts_with("%m")) {
      append(strerror(error));
      taken = 2;
    } else {
      append(message.substr(0, 1));
    }
    message.remove_prefix(taken);
  }
  return {expanded.data(), length};
}
