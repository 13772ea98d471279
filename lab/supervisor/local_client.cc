// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/local_client.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "lab/supervisor/local_socket.h"

std::string LocalClient::connect() {
  constexpr const char* kPath = "/opt/ortdv/sockets/agentx/tvud";
  fd_ = connect_local(SOCK_STREAM, kPath);
  return fd_.valid() ? "" : std::string(kPath) + ": " + strerror(errno);
}

bool LocalClient::send(std::span<const uint8_t> bytes) const {
  return ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
         static_cast<ssize_t>(bytes.size());
}

bool LocalClient::is_all_read() const {
  return ::is_all_read(fd_.get());
}

bool LocalClient::is_hung_up() const {
  return has_hung_up(fd_.get());
}

std::string LocalClient::receive() const {
  std::array<char, 4096> buffer = {};
  const ssize_t length = recv(fd_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
  return {buffer.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

void LocalClient::finish_sending() const {
  shutdown(fd_.get(), SHUT_WR);
}
