// SPDX-License-Identifier: Apache-2.0
#include "log/message.h"

#include <algorithm>
#include <array>
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

const char* escape_controls(std::string_view message, Message& printable) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  size_t length = 0;
  for (size_t i = 0; i < message.size(); ++i) {
    const auto byte = static_cast<unsigned char>(message[i]);
    const bool ends_line = byte == '\n' && i + 1 == message.size();
    const bool control = (byte < 0x20 || byte == 0x7F) && !ends_line;
    const std::array<char, 4> group = {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
    const std::string_view piece =
        control ? std::string_view(group.data(), group.size()) : message.substr(i, 1);
    if (length + piece.size() >= printable.size()) {
      break;
    }
    length += piece.copy(printable.data() + length, piece.size());
  }
  printable[length] = '\0';
  return printable.data();
}
