// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/account.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>
#include <stdexcept>

#include "lab/supervisor/trap_reader.h"

namespace {

constexpr uint16_t kTrapPort = 162;
// Enough of a life's errors to see what they have in common.
constexpr size_t kErrorsKept = 20;
constexpr size_t kTextShown = 200;

void add_error(Account& account, const std::string& error) {
  if (account.errors.size() < kErrorsKept) {
    account.errors.push_back(error);
  }
}

std::string shown(const std::string& trap) {
  return trap.size() > kTextShown ? trap.substr(0, kTextShown) + "..." : trap;
}

// FNV-1a.
void digest(uint64_t& digest, const std::string& text) {
  for (const char character : text) {
    digest = (digest ^ static_cast<uint8_t>(character)) * 0x100000001B3ULL;
  }
}

const char* name_of(size_t road) {
  return road == 0 ? "channel" : "socket";
}

// A trap that is on its way and came before others: those are lost.
bool take_out_of_order(Account& account, Receiver& receiver, const std::string& trap) {
  for (size_t road = 0; road < kRoads; ++road) {
    std::deque<std::string>& expected = receiver.expected[road];
    const auto found = std::ranges::find(expected, trap);
    if (found == expected.end()) {
      continue;
    }
    add_error(account, receiver.address + ": " + std::to_string(found - expected.begin()) +
                           " missing on the " + name_of(road) + " from " + shown(expected.front()) +
                           " to before " + shown(trap));
    expected.erase(expected.begin(), found + 1);
    return true;
  }
  return false;
}

}  // namespace

void open_receiver(Receiver& receiver) {
  sockaddr_in local = {};
  local.sin_family = AF_INET;
  local.sin_port = htons(kTrapPort);
  inet_pton(AF_INET, receiver.address.c_str(), &local.sin_addr);
  receiver.fd = Descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  // As much as the host permits.
  constexpr int kQueue = 1 << 20;
  setsockopt(receiver.fd.get(), SOL_SOCKET, SO_RCVBUF, &kQueue, sizeof kQueue);
  if (bind(receiver.fd.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
    throw std::runtime_error(receiver.address + ": " + std::strerror(errno));
  }
}

void expect_trap(Account& account, Road road, const std::string& trap) {
  const auto index = static_cast<size_t>(road);
  ++account.sent[index];
  for (Receiver& receiver : account.receivers) {
    if (receiver.configured && receiver.fd.valid()) {
      receiver.expected[index].push_back(trap);
      ++account.traps_expected;
    }
  }
}

void take_trap(Account& account, Receiver& receiver, const std::string& text) {
  ++account.traps_received;
  const std::string community = receiver.community + " ";
  const std::string trap = text.starts_with(community) ? text.substr(community.size()) : text;
  for (size_t road = 0; road < kRoads; ++road) {
    std::deque<std::string>& expected = receiver.expected[road];
    if (!expected.empty() && expected.front() == trap) {
      expected.pop_front();
      ++receiver.received[road];
      // Added up, since the roads' traps may come in any order between them.
      uint64_t one = receiver.received[road] * kRoads + road;
      digest(one, receiver.address + text);
      account.digest += one;
      return;
    }
  }
  if (!take_out_of_order(account, receiver, trap)) {
    add_error(account, receiver.address + ": nobody sent this, or it came before: " + shown(text));
  }
}

void take_back(Account& account, Road road, const std::string& trap) {
  const auto index = static_cast<size_t>(road);
  --account.sent[index];
  for (Receiver& receiver : account.receivers) {
    std::deque<std::string>& expected = receiver.expected[index];
    if (!expected.empty() && expected.back() == trap) {
      expected.pop_back();
      --account.traps_expected;
    }
  }
}

bool take_traps(Account& account, Receiver& receiver) {
  std::array<uint8_t, 65536> datagram;
  bool any = false;
  ssize_t length = 0;
  while (receiver.fd.valid() &&
         (length = recv(receiver.fd.get(), datagram.data(), datagram.size(), 0)) >= 0) {
    any = true;
    take_trap(account, receiver, trap_text(std::span(datagram).first(static_cast<size_t>(length))));
  }
  return any;
}

bool has_all(const Account& account, Road road) {
  return std::ranges::all_of(account.receivers, [road](const Receiver& receiver) {
    return receiver.expected[static_cast<size_t>(road)].empty();
  });
}

bool has_all(const Account& account) {
  return has_all(account, Road::kChannel) && has_all(account, Road::kSocket);
}
