#include "tests/e2e/local_client.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace {

constexpr const char* kPath = "/opt/ortdv/sockets/agentx/tvud";

}  // namespace

std::string LocalClient::connect() {
  fd_ = OwnedFd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  memcpy(address.sun_path, kPath, strlen(kPath));
  if (!fd_ ||
      ::connect(fd_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return std::string(kPath) + ": " + strerror(errno);
  }
  return "";
}

bool LocalClient::send(std::span<const uint8_t> bytes) const {
  return ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
         static_cast<ssize_t>(bytes.size());
}

std::string LocalClient::receive() const {
  std::array<char, 4096> buffer = {};
  const ssize_t length = recv(fd_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
  return {buffer.data(), static_cast<size_t>(std::max<ssize_t>(length, 0))};
}

void LocalClient::finish_sending() const {
  shutdown(fd_.get(), SHUT_WR);
}
