#include "tests/e2e/syslog_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace {

constexpr const char* kPath = "/dev/log";
constexpr int kDaemonFacility = 3;

// Reads a number off the front; 0 when there is none.
int take_number(std::string_view* text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
  text->remove_prefix(static_cast<size_t>(end - text->data()));
  return number;
}

// Takes everything up to the mark and the mark off the front.
std::string_view take_until(std::string_view* text, std::string_view mark) {
  const size_t found = std::min(text->find(mark), text->size());
  const std::string_view taken = text->substr(0, found);
  text->remove_prefix(std::min(found + mark.size(), text->size()));
  return taken;
}

}  // namespace

LogLine parse_log_line(std::string_view datagram) {
  constexpr size_t kDateSize = std::string_view("Nov 20 12:00:00 ").size();
  take_until(&datagram, "<");
  const int code = take_number(&datagram);
  take_until(&datagram, ">");
  if (!datagram.starts_with("clock[")) {
    datagram.remove_prefix(std::min(kDateSize, datagram.size()));
  }
  std::string_view tag = take_until(&datagram, ": ");
  const std::string identity(take_until(&tag, "["));
  const pid_t pid = take_number(&tag);
  if (datagram.ends_with('\n')) {
    datagram.remove_suffix(1);
  }
  std::string text = identity + ": " + std::string(datagram);
  if (identity != "clock") {
    text = std::to_string(code & 7) + " " + text;
    if (code >> 3 != kDaemonFacility) {
      text = "facility " + std::to_string(code >> 3) + " " + text;
    }
  }
  return {pid, text};
}

std::string SyslogSocket::open() {
  unlink(kPath);
  fd_ = OwnedFd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, kPath, strlen(kPath));
  if (!fd_ || bind(fd_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return std::string(kPath) + ": " + strerror(errno);
  }
  return "";
}

void SyslogSocket::pump() {
  std::array<char, 16384> datagram = {};
  while (true) {
    const ssize_t length = recv(fd_.get(), datagram.data(), datagram.size(), 0);
    if (length < 0) {
      return;
    }
    lines_.push_back(
        parse_log_line(std::string_view(datagram.data(), static_cast<size_t>(length))));
  }
}
