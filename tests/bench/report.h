// SPDX-License-Identifier: Apache-2.0
// What was measured, and how it is printed.
#ifndef TVUREV_TESTS_BENCH_REPORT_H_
#define TVUREV_TESTS_BENCH_REPORT_H_

#include <optional>
#include <string>
#include <vector>

#include "tests/bench/counts.h"
#include "tests/bench/rounds.h"
#include "tests/bench/statistics.h"

struct RowFigures {
  std::string name;
  Series series;
  std::optional<double> calls = std::nullopt;
  std::optional<double> allocations = std::nullopt;
  std::optional<double> instructions = std::nullopt;
};

// One number of receivers; the floor is the first row.
struct Table {
  int receivers = 0;
  int notifications_a_round = 0;
  std::vector<RowFigures> rows;
};

// CPU time of one row by something that was varied.
struct Growth {
  std::string name;
  std::vector<Point> points;
};

struct Memory {
  std::string name;
  long start_kib = 0;
  long first_kib = 0;  // after the first notification
  long last_kib = 0;
  long relayed = 0;
};

struct Results {
  std::vector<Table> tables;
  std::vector<Growth> by_receivers;
  std::vector<Growth> by_bindings;
  std::vector<Memory> memory;
  Idle idle;
  StartTime start;
  std::vector<std::string> trust;  // how far the figures go
};

// Everything, for people.
std::string report(const Results& results);

// The same as columns for gnuplot: receivers.tsv, bindings.tsv and latency.tsv
// in the folder.
void write_columns(const Results& results, const std::string& folder);

// Fails where a count cannot be right, whatever the machine's speed.
void check_counts(const Results& results);

#endif  // TVUREV_TESTS_BENCH_REPORT_H_
