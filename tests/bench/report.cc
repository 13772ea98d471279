// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/report.h"

#include <cstdarg>
#include <cstdio>

#include "tests/bench/notification.h"

namespace {

__attribute__((format(printf, 1, 2))) std::string text(const char* format, ...) {
  std::array<char, 256> buffer = {};
  va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the line above has
  vsnprintf(buffer.data(), buffer.size(), format, arguments);
  va_end(arguments);
  return buffer.data();
}

std::string optional_number(const char* format, const std::optional<double>& number) {
  std::array<char, 32> buffer = {};
  if (!number) {
    return "-";
  }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  snprintf(buffer.data(), buffer.size(), format, *number);
#pragma GCC diagnostic pop
  return buffer.data();
}

// The row's CPU time by that of the floor in the same round.
std::vector<double> ratios(const Series& row, const Series& floor) {
  std::vector<double> all;
  for (size_t round = 0; round < row.cpu_us.size(); ++round) {
    all.push_back(row.cpu_us[round] / floor.cpu_us[round]);
  }
  return all;
}

std::string table_row(const RowFigures& row, const Series& floor) {
  const std::vector<double> times = ratios(row.series, floor);
  const std::vector<double>& latency = row.series.latency_us;
  return text("%-30s %8.1f %8.2f  (%6.2f - %6.2f) %8.1f %8.1f %8.1f %8s %8s %9s\n",
              row.name.c_str(), median(row.series.cpu_us), median(times), quantile(times, 0.25),
              quantile(times, 0.75), quantile(latency, 0.5), quantile(latency, 0.9),
              quantile(latency, 0.99), optional_number("%.1f", row.calls).c_str(),
              optional_number("%.1f", row.allocations).c_str(),
              optional_number("%.0f", row.instructions).c_str());
}

std::string table_text(const Table& table) {
  const Series& floor = table.rows.front().series;
  std::string lines = text(
      "%d receiver%s: medians of %zu rounds of %d notifications\n"
      "%-30s %8s %8s  %17s %8s %8s %8s %8s %8s %9s\n",
      table.receivers, table.receivers == 1 ? "" : "s", floor.cpu_us.size(),
      table.notifications_a_round, "", "CPU us", "x floor", "(quartiles)", "p50 us", "p90 us",
      "p99 us", "calls", "allocs", "instr.");
  for (const RowFigures& row : table.rows) {
    lines += table_row(row, floor);
  }
  return lines + "\n";
}

std::string growth_text(const std::string& title, const std::string& unit,
                        const std::vector<Growth>& rows) {
  std::string lines = text("%-30s", title.c_str());
  for (const Point& point : rows.front().points) {
    lines += text(" %7.0f", point.x);
  }
  lines += text("  us a %s\n", unit.c_str());
  for (const Growth& row : rows) {
    lines += text("%-30s", row.name.c_str());
    for (const Point& point : row.points) {
      lines += text(" %7.1f", point.y);
    }
    lines += text("  %.2f\n", slope(row.points));
  }
  return lines + "\n";
}

void write_growth(const std::vector<Growth>& rows, const std::string& path) {
  std::string lines = "x";
  for (const Growth& row : rows) {
    lines += "\t" + row.name;
  }
  for (size_t i = 0; i < rows.front().points.size(); ++i) {
    lines += text("\n%g", rows.front().points[i].x);
    for (const Growth& row : rows) {
      lines += text("\t%g", row.points[i].y);
    }
  }
  write_file(path, lines + "\n");
}

void require(bool right, const std::string& what) {
  if (!right) {
    throw MeasurementFailed("a count cannot be right: " + what);
  }
}

void check_row(const RowFigures& row, int receivers) {
  const std::vector<double>& latency = row.series.latency_us;
  require(!latency.empty() && quantile(latency, 0) > 0, row.name + " has no latency");
  require(median(row.series.cpu_us) > 0, row.name + " took no CPU time");
  // A notification is received, and one message is sent a receiver.
  require(!row.calls || (*row.calls >= 1 + receivers && *row.calls < 10'000),
          row.name + " makes " + optional_number("%f", row.calls) + " calls");
  require(!row.allocations || (*row.allocations >= 0 && *row.allocations < 10'000),
          row.name + " allocates " + optional_number("%f", row.allocations) + " times");
  require(!row.instructions || (*row.instructions > 500 && *row.instructions < 1e7),
          row.name + " takes " + optional_number("%f", row.instructions) + " instructions");
}

// What the daemon promises of itself: not one system call more than the duties
// take, and five blocks of the heap at most.
void check_promises(const RowFigures& row, double calls) {
  constexpr double kAllocations = 5;
  require(!row.calls || std::abs(*row.calls - calls) < 0.5,
          row.name + " makes " + optional_number("%f", row.calls) + " calls");
  require(!row.allocations || *row.allocations <= kAllocations,
          row.name + " makes " + optional_number("%f", row.allocations) + " allocations");
}

}  // namespace

std::string report(const Results& results) {
  std::string lines =
      text("A notification of %zu bytes with %d bindings, relayed in a closed loop on one CPU\n\n",
           kUsualSize, kUsualBindings);
  for (const Table& table : results.tables) {
    lines += table_text(table);
  }
  lines += growth_text("CPU us by receivers", "receiver", results.by_receivers);
  lines += growth_text("CPU us by bindings", "binding", results.by_bindings);
  for (const Memory& memory : results.memory) {
    lines += text("%-30s resident KiB: %ld at the start, %ld after 1 notification, %ld after %ld\n",
                  memory.name.c_str(), memory.start_kib, memory.first_kib, memory.last_kib,
                  memory.relayed);
  }
  lines += text("%-30s %.1f wake-ups a second (BMC), %.1f (agent socket), %.1f allocations\n",
                "tvurev, idle", results.idle.bmc_wakeups, results.idle.agent_wakeups,
                results.idle.allocations);
  lines +=
      text("%-30s %.1f ms to the connect request; %.1f ms with its documented waits skipped\n\n",
           "tvurev, start", results.start.as_it_is, median(results.start.waits_skipped));
  for (const std::string& line : results.trust) {
    lines += line + "\n";
  }
  return lines;
}

void write_columns(const Results& results, const std::string& folder) {
  write_growth(results.by_receivers, folder + "/receivers.tsv");
  write_growth(results.by_bindings, folder + "/bindings.tsv");
  std::string lines = "row\tp50\tp90\tp99\n";
  for (const RowFigures& row : results.tables.front().rows) {
    const std::vector<double>& latency = row.series.latency_us;
    lines += text("\"%s\"\t%g\t%g\t%g\n", row.name.c_str(), quantile(latency, 0.5),
                  quantile(latency, 0.9), quantile(latency, 0.99));
  }
  write_file(folder + "/latency.tsv", lines);
}

void check_counts(const Results& results) {
  for (const Table& table : results.tables) {
    for (const RowFigures& row : table.rows) {
      check_row(row, table.receivers);
    }
    // poll, receive and stat, and seven calls a receiver; strace may miss the
    // poll at either end.
    const RowFigures& floor = table.rows.front();
    const double expected = 3 + 7 * table.receivers;
    require(!floor.calls || std::abs(*floor.calls - expected) < 0.5,
            "the floor makes " + optional_number("%f", floor.calls) + " calls");
    require(!floor.allocations || *floor.allocations == 0, "the floor allocates");
    for (const RowFigures& row : table.rows) {
      if (row.name.starts_with("tvurev")) {
        check_promises(row, expected);
      }
    }
  }
  for (const Memory& memory : results.memory) {
    require(memory.first_kib > 0 && memory.last_kib > 0, memory.name + " has no memory");
  }
  require(results.idle.bmc_wakeups >= 0 && results.idle.agent_wakeups >= 0, "idle wake-ups");
}
