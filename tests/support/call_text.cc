// SPDX-License-Identifier: Apache-2.0
#include "tests/support/call_text.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/un.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

struct FlagName {
  int flag;
  const char* name;
};

std::string flag_names(int flags, std::span<const FlagName> names, std::string text) {
  for (const FlagName& entry : names) {
    if ((flags & entry.flag) == entry.flag) {
      text += (text.empty() ? "" : "|") + std::string(entry.name);
      flags &= ~entry.flag;
    }
  }
  if (flags != 0) {
    text += "|" + std::to_string(flags);
  }
  return text;
}

}  // namespace

std::string quoted(std::string_view text) {
  return '"' + std::string(text) + '"';
}

std::string open_flags_text(int flags) {
  static constexpr auto kNames = std::to_array<FlagName>({{O_CREAT, "O_CREAT"},
                                                          {O_EXCL, "O_EXCL"},
                                                          {O_TRUNC, "O_TRUNC"},
                                                          {O_APPEND, "O_APPEND"},
                                                          {O_NONBLOCK, "O_NONBLOCK"},
                                                          {O_CLOEXEC, "O_CLOEXEC"}});
  static constexpr std::array<const char*, 4> kModes = {"O_RDONLY", "O_WRONLY", "O_RDWR", "3"};
  return flag_names(flags & ~O_ACCMODE, kNames, kModes[static_cast<size_t>(flags & O_ACCMODE)]);
}

std::string poll_events_text(short events) {
  static constexpr auto kNames =
      std::to_array<FlagName>({{POLLIN, "POLLIN"}, {POLLERR, "POLLERR"}, {POLLHUP, "POLLHUP"}});
  return flag_names(events, kNames, "");
}

std::string address_text(const sockaddr* address, socklen_t length) {
  if (address->sa_family == AF_UNIX) {
    std::array<char, sizeof(sockaddr_un) + 1> copy = {};
    memcpy(copy.data(), address, std::min<size_t>(length, sizeof(sockaddr_un)));
    return copy.data() + offsetof(sockaddr_un, sun_path);
  }
  if (address->sa_family == AF_INET) {
    sockaddr_in inet = {};
    memcpy(&inet, address, std::min<size_t>(length, sizeof inet));
    std::array<char, INET_ADDRSTRLEN> text = {};
    inet_ntop(AF_INET, &inet.sin_addr, text.data(), text.size());
    return std::string(text.data()) + ":" + std::to_string(ntohs(inet.sin_port));
  }
  return "family " + std::to_string(address->sa_family);
}

std::string bytes_text(std::span<const uint8_t> bytes) {
  std::string text;
  for (const uint8_t byte : bytes) {
    std::array<char, 4> piece = {};
    snprintf(piece.data(), piece.size(), "%02x", byte);
    text += (text.empty() ? "" : " ") + std::string(piece.data());
  }
  return text;
}
