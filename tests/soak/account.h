// SPDX-License-Identifier: Apache-2.0
// What must arrive and what has: each trap exactly once at each receiver that was
// there, in its road's order. The two roads are two processes, so nothing is said
// about the order between them.
#ifndef TVUREV_TESTS_SOAK_ACCOUNT_H_
#define TVUREV_TESTS_SOAK_ACCOUNT_H_

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "base/descriptor.h"

enum class Road { kChannel, kSocket };
inline constexpr size_t kRoads = 2;

// One receiver: UDP port 162 of an address.
struct Receiver {
  std::string address;
  std::string community;
  Descriptor fd;            // none while it is away: the host refuses for it
  bool configured = false;  // the daemon that runs now was told of it
  std::array<std::deque<std::string>, kRoads> expected = {};
  std::array<uint64_t, kRoads> received = {};
};

struct Account {
  std::vector<Receiver> receivers;
  std::array<uint64_t, kRoads> sent = {};  // good notifications, whoever is there
  uint64_t traps_expected = 0;
  uint64_t traps_received = 0;
  // Of the traps at each receiver and road in order; the same life, the same one.
  uint64_t digest = 0;
  // What does not balance, in words.
  std::vector<std::string> errors;
};

// Opens the port; the receiver is there from now on. Throws std::runtime_error.
void open_receiver(Receiver& receiver);

// A good notification goes off on a road: its trap is expected wherever a
// receiver is there that the daemon knows.
void expect_trap(Account& account, Road road, const std::string& trap);

// It was not read, and is going to be sent again.
void take_back(Account& account, Road road, const std::string& trap);

// Notes that this came to a receiver, as trap_text() writes it, and what is wrong
// with that.
void take_trap(Account& account, Receiver& receiver, const std::string& text);

// Takes what has come to a receiver. Returns whether anything had.
bool take_traps(Account& account, Receiver& receiver);

// Whether nothing is on its way on this road.
bool has_all(const Account& account, Road road);
bool has_all(const Account& account);

#endif  // TVUREV_TESTS_SOAK_ACCOUNT_H_
