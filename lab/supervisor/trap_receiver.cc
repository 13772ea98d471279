// SPDX-License-Identifier: Apache-2.0
#include "lab/supervisor/trap_receiver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <array>
#include <cstring>
#include <span>

#include "lab/supervisor/trap_reader.h"

std::string TrapReceiver::open(const std::string& address) {
  constexpr uint16_t kTrapPort = 162;
  sockaddr_in local = {};
  local.sin_family = AF_INET;
  local.sin_port = htons(kTrapPort);
  inet_pton(AF_INET, address.c_str(), &local.sin_addr);
  fd_ = Descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  return bind(fd_.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0
             ? ""
             : address + ": " + strerror(errno);
}

void TrapReceiver::pump() {
  std::array<uint8_t, 65536> datagram = {};
  ssize_t length = 0;
  while ((length = recv(fd_.get(), datagram.data(), datagram.size(), 0)) >= 0) {
    traps_.push_back(trap_text(std::span(datagram).first(static_cast<size_t>(length))));
  }
}
