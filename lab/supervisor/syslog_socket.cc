// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/syslog_socket.h"

#include <sys/socket.h>

#include <array>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include "lab/supervisor/local_socket.h"

namespace {

constexpr int kDaemonFacility = 3;

bool take(std::string_view& text, std::string_view start) {
  const bool there = text.starts_with(start);
  text.remove_prefix(there ? start.size() : 0);
  return there;
}

std::optional<int> take_number(std::string_view& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number < 0) {
    return std::nullopt;
  }
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return number;
}

// "Nov 21 09:05:07 ", which the clock does not write.
void take_date(std::string_view& text) {
  constexpr std::string_view kShape = "Mmm dd hh:mm:ss ";
  constexpr std::string_view kSeparators = " :";
  for (size_t i = 0; i < kShape.size(); ++i) {
    if (i >= text.size() ||
        (kSeparators.find(kShape[i]) != kSeparators.npos && text[i] != kShape[i])) {
      return;
    }
  }
  text.remove_prefix(kShape.size());
}

// What stands before the text, and the text; nothing when it is no such line.
struct Parts {
  int code;
  std::string_view identity;
  int pid;
  std::string_view text;
};

std::optional<Parts> split(std::string_view datagram) {
  Parts parts = {};
  const std::optional<int> code = take(datagram, "<") ? take_number(datagram) : std::nullopt;
  if (!code || !take(datagram, ">")) {
    return std::nullopt;
  }
  parts.code = *code;
  take_date(datagram);
  parts.identity = datagram.substr(0, datagram.find_first_of(":["));
  datagram.remove_prefix(parts.identity.size());
  if (take(datagram, "[")) {
    const std::optional<int> pid = take_number(datagram);
    if (!pid || !take(datagram, "]")) {
      return std::nullopt;
    }
    parts.pid = *pid;
  }
  if (!take(datagram, ": ")) {
    return std::nullopt;
  }
  parts.text = datagram;
  return parts;
}

}  // namespace

LogLine parse_log_line(const std::string& datagram) {
  const std::optional<Parts> parts = split(datagram);
  if (!parts) {
    return {0, datagram};
  }
  std::string text = std::string(parts->identity) + ": " + std::string(parts->text);
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  if (parts->identity != "clock") {
    text = std::to_string(parts->code & 7) + " " + text;
    if (parts->code >> 3 != kDaemonFacility) {
      text = "facility " + std::to_string(parts->code >> 3) + " " + text;
    }
  }
  return {parts->pid, text};
}

std::string SyslogSocket::open() {
  constexpr const char* kPath = "/dev/log";
  unlink(kPath);
  fd_ = serve_local(SOCK_DGRAM, kPath);
  return fd_.valid() ? "" : std::string(kPath) + ": " + strerror(errno);
}

void SyslogSocket::pump() {
  std::array<char, 16384> datagram = {};
  ssize_t length = 0;
  while ((length = recv(fd_.get(), datagram.data(), datagram.size(), 0)) >= 0) {
    lines_.push_back(parse_log_line({datagram.data(), static_cast<size_t>(length)}));
  }
}
