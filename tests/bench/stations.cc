// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/stations.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "tests/bench/notification.h"

namespace {

constexpr uint16_t kTrapPort = 162;
constexpr const char* kLogPath = "/dev/log";
constexpr int kPatienceSeconds = 10;

Descriptor open_receiver(const std::string& address) {
  Descriptor receiver(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in local = {};
  local.sin_family = AF_INET;
  local.sin_port = htons(kTrapPort);
  inet_pton(AF_INET, address.c_str(), &local.sin_addr);
  const timeval patience = {kPatienceSeconds, 0};
  if (!receiver.valid() ||
      bind(receiver.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0 ||
      setsockopt(receiver.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0) {
    fail_with_errno("cannot receive traps at " + address);
  }
  return receiver;
}

Descriptor open_log() {
  unlink(kLogPath);
  Descriptor log(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, kLogPath, sizeof address.sun_path - 1);
  if (!log.valid() ||
      bind(log.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    fail_with_errno(std::string("cannot open ") + kLogPath);
  }
  return log;
}

}  // namespace

void fail_with_errno(const std::string& doing) {
  throw MeasurementFailed(doing + ": " + strerror(errno));
}

std::string receiver_address(int index) {
  return "127.0.0." + std::to_string(index + 1);
}

void Stations::open() {
  for (int index = 0; index < kMostReceivers; ++index) {
    receivers.push_back(open_receiver(receiver_address(index)));
  }
  log = open_log();
}

Clock::time_point Stations::await_traps(int count, uint32_t stamp, std::vector<Bytes>* traps) {
  std::array<uint8_t, 4096> trap = {};
  // The last one first: what waits for it is woken once.
  for (int index = count - 1; index >= 0; --index) {
    const ssize_t length =
        recv(receivers[static_cast<size_t>(index)].get(), trap.data(), trap.size(), 0);
    if (length < 0) {
      fail_with_errno("no trap arrived at " + receiver_address(index));
    }
    const std::span<const uint8_t> received(trap.data(), static_cast<size_t>(length));
    if (!carries_stamp(received, stamp)) {
      throw MeasurementFailed("another trap than the awaited one arrived at " +
                              receiver_address(index) + ": " + hex_of(received));
    }
    if (traps != nullptr) {
      traps->insert(traps->begin(), Bytes(received.begin(), received.end()));
    }
  }
  return Clock::now();
}

void Stations::drain_receivers() {
  std::array<uint8_t, 4096> ignored = {};
  for (const Descriptor& receiver : receivers) {
    while (recv(receiver.get(), ignored.data(), ignored.size(), MSG_DONTWAIT) >= 0) {
    }
  }
}

void Stations::await_line(const std::string& text) {
  const auto give_up = Clock::now() + std::chrono::seconds(kPatienceSeconds);
  for (lines.clear(); Clock::now() < give_up; usleep(1'000)) {
    drain_log(true);
    for (const std::string& line : lines) {
      if (line.find(text) != std::string::npos) {
        return;
      }
    }
  }
  throw MeasurementFailed("nobody logs: " + text);
}

int Stations::drain_log(bool keep) {
  std::array<char, 4096> line = {};
  int count = 0;
  for (ssize_t length; (length = recv(log.get(), line.data(), line.size(), 0)) >= 0; ++count) {
    if (keep) {
      lines.emplace_back(line.data(), static_cast<size_t>(length));
    }
  }
  return count;
}
