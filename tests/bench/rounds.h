// SPDX-License-Identifier: Apache-2.0
// Rounds: the same number of notifications relayed one after the other, each
// handed over when the one before it has arrived everywhere. The rows take turns
// round by round, so that what else the machine does falls on all of them.
#ifndef TVUREV_TESTS_BENCH_ROUNDS_H_
#define TVUREV_TESTS_BENCH_ROUNDS_H_

#include <functional>
#include <string>
#include <vector>

#include "tests/bench/rows.h"

// What the rounds of a row came to.
struct Series {
  std::vector<double> cpu_us;      // a notification, one figure a round
  std::vector<double> latency_us;  // from its write to its last trap's arrival
};

// Relays one notification and returns its latency in microseconds.
double relay_one(Stage& stage, Row& row, Packet& packet);

// Relays one notification of the usual size by each row that has the floor's
// duties, and fails unless its traps and its log lines are the floor's.
void check_duties(Stage& stage);

struct RoundsPlan {
  int rounds = 0;
  int notifications = 0;                    // a round; snmptrap takes a fiftieth of it
  std::chrono::duration<double> at_most{};  // no new turn after that, from the third on
};

// One series for each row and number of bindings, in the order of `turns`.
struct Turn {
  size_t row = 0;
  int bindings = 0;
};
using Progress = std::function<void(const std::string&)>;
std::vector<Series> run_rounds(Stage& stage, const std::vector<Turn>& turns, const RoundsPlan& plan,
                               const Progress& progress);

#endif  // TVUREV_TESTS_BENCH_ROUNDS_H_
