#include "tests/e2e/trap_receiver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <span>

#include "tests/e2e/trap_text.h"

std::string TrapReceiver::open(const std::string& address) {
  constexpr uint16_t kTrapPort = 162;
  fd_ = OwnedFd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_in local = {};
  local.sin_family = AF_INET;
  local.sin_port = htons(kTrapPort);
  if (inet_pton(AF_INET, address.c_str(), &local.sin_addr) != 1) {
    return address + ": no IPv4 address";
  }
  if (!fd_ || bind(fd_.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
    return address + ": " + strerror(errno);
  }
  return "";
}

void TrapReceiver::pump() {
  std::array<uint8_t, 65536> datagram = {};
  while (fd_) {
    const ssize_t length = recv(fd_.get(), datagram.data(), datagram.size(), 0);
    if (length < 0) {
      return;
    }
    traps_.push_back(trap_text(std::span(datagram).first(static_cast<size_t>(length))));
  }
}
