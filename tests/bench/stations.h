// SPDX-License-Identifier: Apache-2.0
// What stands around a program under test: the trap receivers, UDP sockets on
// port 162 of addresses of the loopback interface, and the system log's socket,
// which is read and thrown away.
#ifndef TVUREV_TESTS_BENCH_STATIONS_H_
#define TVUREV_TESTS_BENCH_STATIONS_H_

#include <chrono>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "tests/support/packets.h"

// What ends a measurement: its text says what went wrong.
struct MeasurementFailed : std::runtime_error {
  using std::runtime_error::runtime_error;
};
// The same, with errno's text behind it.
[[noreturn]] void fail_with_errno(const std::string& doing);

using Clock = std::chrono::steady_clock;

inline constexpr int kMostReceivers = 3;

// "127.0.0.1" for the first of them.
std::string receiver_address(int index);

struct Stations {
  std::vector<Descriptor> receivers;  // kMostReceivers of them
  Descriptor log;
  uint32_t last_stamp = 0;         // see tests/bench/notification.h
  std::vector<std::string> lines;  // of the log, kept when asked for

  // Opens all of them. /dev/log must not exist or be a socket.
  void open();

  // Waits for the trap with this stamp at the first `count` receivers and
  // returns when the last of them came; the traps are put into `traps` when it
  // is given. A trap that does not come within ten seconds, or another one
  // between, fails. The log's queue holds the lines of one notification; it is
  // read after each.
  Clock::time_point await_traps(int count, uint32_t stamp, std::vector<Bytes>* traps = nullptr);

  // Throws away what came without being asked for.
  void drain_receivers();
  // Reads the log until a line holds this text. Fails after ten seconds.
  void await_line(const std::string& text);
  // Reads the log empty; returns the number of lines.
  int drain_log(bool keep = false);
};

#endif  // TVUREV_TESTS_BENCH_STATIONS_H_
