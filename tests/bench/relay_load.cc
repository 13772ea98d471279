// SPDX-License-Identifier: Apache-2.0
// relay_load: what a relayed notification costs tvurev, beside the least that it
// can cost and beside other ways. Measures in a sandbox of its own, which
// ./bench makes; prints the table.
#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <thread>

#include "tests/bench/notification.h"
#include "tests/bench/report.h"

namespace {

enum ExitStatus { kDone = 0, kFailed = 1, kUsage = 2, kCannotMeasure = 3 };

// How much is measured.
struct Plan {
  RoundsPlan rounds;          // of the tables
  RoundsPlan sweep;           // of the growth by bindings
  int counted = 0;            // notifications of each counting pass
  size_t counted_tables = 2;  // whose allocations and instructions are counted
  double idle_seconds = 0;
  int starts = 0;
  unsigned at_most_seconds = 0;  // the run is killed then
};

using std::chrono::seconds;

const std::map<std::string, Plan> kPlans = {
    {"full", {{60, 200, seconds(45)}, {20, 100, seconds(30)}, 200, 2, 10, 9, 1200}},
    {"quick", {{12, 100, seconds(7)}, {5, 60, seconds(5)}, 100, 2, 3, 3, 120}},
    {"smoke", {{2, 25, seconds(5)}, {1, 5, seconds(5)}, 20, 1, 1, 1, 120}},
};

std::vector<int> binding_steps() {
  return {0, 4, 8, 12, 16, 20, 24};
}

void show_progress(const std::string& what) {
  if (isatty(STDERR_FILENO) != 0) {
    std::cerr << "\r\033[K" << what << std::flush;
  }
}

// Binds this process, and so all that it starts, to the last CPU it may use.
size_t take_one_cpu() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) {
    fail_with_errno("cannot ask for the CPUs");
  }
  size_t last = CPU_SETSIZE - 1;
  while (last > 0 && !CPU_ISSET(last, &allowed)) {
    --last;
  }
  CPU_ZERO(&allowed);
  CPU_SET(last, &allowed);
  if (sched_setaffinity(0, sizeof allowed, &allowed) != 0) {
    fail_with_errno("cannot stay on one CPU");
  }
  return last;
}

// The load generator sees an arrival at once. It may have been started with this
// priority where it must not take it; what it starts does not inherit it.
bool take_real_time_priority() {
  const sched_param lowest = {1};
  return sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &lowest) == 0;
}

std::vector<std::string> trust_lines(const std::string& load_average, size_t cpu, bool real_time) {
  const unsigned cpus = std::thread::hardware_concurrency();
  return {"Trust: load average " + load_average + " at the start, measured on CPU " +
              std::to_string(cpu) + " alone; whatever else ran there is in the figures.",
          std::string("Trust: real-time priority for the load generator was ") +
              (real_time ? "permitted" : "refused, so that latencies hold its own waiting") +
              "; ratios of one run say more than microseconds of two (" + std::to_string(cpus) +
              " CPU usable)."};
}

std::string first_words(const std::string& text, int count) {
  size_t end = 0;
  for (int i = 0; i < count && end != std::string::npos; ++i) {
    end = text.find(' ', end + (i > 0 ? 1 : 0));
  }
  return text.substr(0, end);
}

std::vector<Turn> turns_of(size_t rows, const std::vector<int>& bindings) {
  std::vector<Turn> turns;
  for (const int count : bindings) {
    for (size_t row = 0; row < rows; ++row) {
      turns.push_back({row, count});
    }
  }
  return turns;
}

Growth* growth_of(std::vector<Growth>* all, const std::string& name) {
  const auto found = std::ranges::find(*all, name, &Growth::name);
  if (found != all->end()) {
    return &*found;
  }
  return &all->emplace_back(Growth{name, {}});
}

// Rows of the growth: the floor and the daemon's two.
constexpr size_t kGrowthRows = 3;

void sweep_bindings(Stage& stage, const Plan& plan, Results* results) {
  const std::vector<Turn> turns = turns_of(kGrowthRows, binding_steps());
  const std::vector<Series> all = run_rounds(stage, turns, plan.sweep, show_progress);
  for (size_t i = 0; i < turns.size(); ++i) {
    growth_of(&results->by_bindings, stage.rows[turns[i].row].name)
        ->points.push_back({static_cast<double>(turns[i].bindings), median(all[i].cpu_us)});
  }
}

void add_counts(Stations& stations, const Plan& plan, Table* table) {
  show_progress("allocations");
  const auto allocations = count_allocations(stations, table->receivers, plan.counted);
  show_progress("instructions, under callgrind");
  const auto instructions = count_instructions(stations, table->receivers, plan.counted);
  for (size_t row = 0; row < allocations.size(); ++row) {
    table->rows[row].allocations = allocations[row];
    table->rows[row].instructions = instructions[row];
  }
}

std::vector<long> resident(const Stage& stage) {
  std::vector<long> all;
  for (const Row& row : stage.rows) {
    all.push_back(row.ours ? status_number(row.pid, "VmRSS") : 0);
  }
  return all;
}

void note_memory(const Stage& stage, const std::vector<long>& start, const std::vector<long>& first,
                 Results* results) {
  const std::vector<long> last = resident(stage);
  for (size_t row = 0; row < stage.rows.size(); ++row) {
    if (stage.rows[row].ours) {
      results->memory.push_back(
          {stage.rows[row].name, start[row], first[row], last[row], stage.rows[row].relayed});
    }
  }
}

void add_receivers_point(const Stage& stage, const std::vector<Series>& all, Results* results) {
  for (size_t row = 0; row < kGrowthRows; ++row) {
    growth_of(&results->by_receivers, stage.rows[row].name)
        ->points.push_back({static_cast<double>(stage.receivers), median(all[row].cpu_us)});
  }
}

void measure_table(Stage& stage, const Plan& plan, Results* results) {
  Table table = {stage.receivers, plan.rounds.notifications, {}};
  const std::vector<Series> all =
      run_rounds(stage, turns_of(stage.rows.size(), {kUsualBindings}), plan.rounds, show_progress);
  for (size_t row = 0; row < stage.rows.size(); ++row) {
    show_progress("system calls of " + stage.rows[row].name);
    RowFigures figures = {.name = stage.rows[row].name, .series = all[row]};
    figures.calls = count_calls(stage, stage.rows[row], plan.counted);
    table.rows.push_back(figures);
  }
  add_receivers_point(stage, all, results);
  results->tables.push_back(table);
}

// All rows, and with the most traffic: growth by bindings, and memory.
void measure_one_receiver(Stations& stations, const Plan& plan, Results* results) {
  show_progress("starting all programs");
  Stage stage(stations, 1, Under::kNothing);
  stage.start_relays();
  stage.start_others();
  const std::vector<long> start = resident(stage);
  check_duties(stage);
  const std::vector<long> first = resident(stage);
  measure_table(stage, plan, results);
  sweep_bindings(stage, plan, results);
  note_memory(stage, start, first, results);
}

// A point of the growth, no table.
void measure_two_receivers(Stations& stations, const Plan& plan, Results* results) {
  Stage stage(stations, 2, Under::kNothing);
  stage.start_relays();
  check_duties(stage);
  add_receivers_point(
      stage, run_rounds(stage, turns_of(kGrowthRows, {kUsualBindings}), plan.sweep, show_progress),
      results);
}

void measure_three_receivers(Stations& stations, const Plan& plan, Results* results) {
  Stage stage(stations, 3, Under::kNothing);
  stage.start_relays();
  stage.start_others();
  check_duties(stage);
  measure_table(stage, plan, results);
}

Results measure(const Plan& plan) {
  Results results;
  Stations stations;
  const std::string load_average = first_words(read_file("/proc/loadavg"), 3);
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  const size_t cpu = take_one_cpu();
  const bool real_time = take_real_time_priority();
  stations.open();
  measure_one_receiver(stations, plan, &results);
  measure_two_receivers(stations, plan, &results);
  measure_three_receivers(stations, plan, &results);
  for (size_t table = 0; table < plan.counted_tables; ++table) {
    add_counts(stations, plan, &results.tables[table]);
  }
  show_progress("idle");
  results.idle = watch_idle(stations, plan.idle_seconds);
  show_progress("starts");
  results.start = time_starts(stations, plan.starts);
  show_progress("");
  results.trust = trust_lines(load_average, cpu, real_time);
  return results;
}

int run(int argc, char** argv) {
  CLI::App app("Measures what a relayed notification costs; to be run by ./bench");
  std::string mode = "full";
  std::string columns;
  app.add_option("--mode", mode, "how much is measured")
      ->check(CLI::IsMember({"full", "quick", "smoke"}));
  app.add_option("--columns", columns, "folder for the figures as columns");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  if (!std::filesystem::exists("/vmfs/devices") || !std::filesystem::exists(kWorkFolder)) {
    std::cerr << "relay_load: not in a sandbox: run ./bench\n";
    return kCannotMeasure;
  }
  const Plan& plan = kPlans.at(mode);
  alarm(plan.at_most_seconds);
  const Results results = measure(plan);
  std::cout << report(results) << std::flush;
  check_counts(results);
  if (!columns.empty()) {
    write_columns(results, columns);
  }
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    fprintf(stderr, "\nrelay_load: %s\n", error.what());
    return kFailed;
  }
}
