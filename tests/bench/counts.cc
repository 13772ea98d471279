// SPDX-License-Identifier: Apache-2.0
#include "tests/bench/counts.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <sstream>

#include "tests/bench/notification.h"

namespace {

constexpr const char* kCallsFile = "/run/bench/calls";
constexpr int kWarmUp = 20;

// The sum of strace's summary.
double total_calls() {
  std::istringstream lines(read_file(kCallsFile));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    double calls = 0;
    std::string name;
    if (words >> calls >> name && name == "total") {
      return calls;
    }
  }
  throw MeasurementFailed("strace counted nothing: " + read_file("/run/bench/errors"));
}

std::vector<std::string> strace(std::vector<std::string> rest) {
  rest.insert(rest.begin(), {"strace", "-f", "-c", "-U", "calls,name", "-o", kCallsFile});
  return rest;
}

double count_program_calls(Stage& stage) {
  double calls = 0;
  const uint32_t stamp = kFirstStamp + ++stage.stations.last_stamp;
  for (int index = 0; index < stage.receivers; ++index) {
    const auto arguments =
        strace(snmptrap_arguments(kUsualBindings, stamp, receiver_address(index)));
    wait_for(start({.arguments = arguments}));
    calls += total_calls();
  }
  stage.stations.await_traps(stage.receivers, stamp);
  stage.stations.drain_log();
  return calls;
}

pid_t attach_strace(pid_t pid) {
  const pid_t tracer = start({.arguments = strace({"-p", std::to_string(pid)})});
  const auto give_up = Clock::now() + std::chrono::seconds(10);
  while (status_number(pid, "TracerPid") == 0) {
    if (Clock::now() > give_up || waitpid(tracer, nullptr, WNOHANG) == tracer) {
      throw MeasurementFailed("strace cannot attach: " + read_file("/run/bench/errors"));
    }
    usleep(1'000);
  }
  usleep(50'000);  // it goes on with the process from here
  return tracer;
}

void relay(Stage& stage, Row& row, int notifications) {
  Packet packet = packet_for(row, kUsualBindings);
  for (int i = 0; i < notifications; ++i) {
    relay_one(stage, row, packet);
  }
  wait_until_idle(row.pid);
}

// The instructions of every row's process in one run.
std::vector<double> instructions_of_run(Stations& stations, int receivers, int notifications) {
  std::vector<pid_t> pids;
  {
    Stage stage(stations, receivers, Under::kCallgrind);
    stage.start_relays();
    for (Row& row : stage.rows) {
      relay(stage, row, notifications);
      pids.push_back(row.pid);
    }
    for (const pid_t pid : stage.processes) {
      kill(pid, SIGTERM);  // callgrind says what it counted
      int ignored = 0;
      waitpid(pid, &ignored, 0);
    }
    stage.processes.clear();
  }
  std::vector<double> instructions;
  instructions.reserve(pids.size());
  for (const pid_t pid : pids) {
    instructions.push_back(instructions_of(pid));
  }
  return instructions;
}

}  // namespace

double count_calls(Stage& stage, Row& row, int notifications) {
  if (row.road == Road::kProgram) {
    return count_program_calls(stage);
  }
  const pid_t tracer = attach_strace(row.pid);
  relay(stage, row, notifications);
  kill(tracer, SIGINT);
  int ignored = 0;
  waitpid(tracer, &ignored, 0);
  return total_calls() / notifications;
}

std::vector<double> count_allocations(Stations& stations, int receivers, int notifications) {
  Stage stage(stations, receivers, Under::kAllocationCounter);
  stage.start_relays();
  std::vector<double> counts;
  for (Row& row : stage.rows) {
    relay(stage, row, kWarmUp);
    const uint64_t before = allocations_of(row);
    relay(stage, row, notifications);
    counts.push_back(static_cast<double>(allocations_of(row) - before) / notifications);
  }
  return counts;
}

std::vector<double> count_instructions(Stations& stations, int receivers, int notifications) {
  const std::vector<double> few = instructions_of_run(stations, receivers, kWarmUp);
  std::vector<double> counts = instructions_of_run(stations, receivers, kWarmUp + notifications);
  for (size_t row = 0; row < counts.size(); ++row) {
    counts[row] = (counts[row] - few[row]) / notifications;
  }
  return counts;
}

Idle watch_idle(Stations& stations, double seconds) {
  constexpr const char* kWakeups = "voluntary_ctxt_switches";
  Stage stage(stations, 1, Under::kAllocationCounter);
  stage.start_relays();
  const Row& agent = stage.rows[1];
  const Row& bmc = stage.rows[2];
  relay(stage, stage.rows[1], 1);
  relay(stage, stage.rows[2], 1);
  const long bmc_before = status_number(bmc.pid, kWakeups);
  const long agent_before = status_number(agent.pid, kWakeups);
  const uint64_t allocations_before = allocations_of(bmc);
  usleep(static_cast<useconds_t>(seconds * 1e6));
  return {
      .bmc_wakeups = static_cast<double>(status_number(bmc.pid, kWakeups) - bmc_before) / seconds,
      .agent_wakeups =
          static_cast<double>(status_number(agent.pid, kWakeups) - agent_before) / seconds,
      .allocations = static_cast<double>(allocations_of(bmc) - allocations_before) / seconds};
}

StartTime time_starts(Stations& stations, int starts) {
  StartTime time;
  for (int i = 0; i <= starts; ++i) {
    Stage stage(stations, 1, Under::kNothing);
    double milliseconds = 0;
    const pid_t daemon = start_daemon(stage, i > 0, &milliseconds);
    for (const pid_t child : children_of(daemon)) {
      stage.processes.push_back(child);
    }
    if (i == 0) {
      time.as_it_is = milliseconds;
    } else {
      time.waits_skipped.push_back(milliseconds);
    }
  }
  return time;
}
