// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/syslog_socket.h"

#include <sys/socket.h>

#include <array>
#include <cstring>
#include <regex>

#include "lab/supervisor/local_socket.h"

LogLine parse_log_line(const std::string& datagram) {
  // Code, date (the clock writes none), identity, process number.
  static const std::regex start(
      R"(<(\d{1,9})>(?:\w{3} [ \d]\d \d\d:\d\d:\d\d )?([^:\[]*)(?:\[(\d{1,9})\])?: )");
  constexpr int kDaemonFacility = 3;
  std::smatch parts;
  if (!std::regex_search(datagram, parts, start, std::regex_constants::match_continuous)) {
    return {0, datagram};
  }
  std::string text = parts.str(2) + ": " + parts.suffix().str();
  if (text.ends_with('\n')) {
    text.pop_back();
  }
  const int code = std::stoi(parts[1]);
  if (parts.str(2) != "clock") {
    text = std::to_string(code & 7) + " " + text;
    if (code >> 3 != kDaemonFacility) {
      text = "facility " + std::to_string(code >> 3) + " " + text;
    }
  }
  return {parts[3].matched ? std::stoi(parts[3]) : 0, text};
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
