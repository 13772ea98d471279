// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/watch.h"

#include <algorithm>
#include <sstream>

#include "tests/e2e/process.h"
#include "tests/soak/paths.h"

namespace {

// Notifications. By then each size was there, and each buffer was used.
constexpr uint64_t kWarmAfter = 500;
// Of what a process wrote itself; pages of its program come in when their code
// first runs, however late. A leak of a pointer's size in each notification does
// not hide in it.
constexpr long kSlackKib = 64;

// Standard ones and the channel; "/dev/null", the listener and the client.
constexpr size_t kMainDescriptors = 4;
constexpr size_t kProxyDescriptors = 2;
constexpr size_t kRelayProcesses = 2;

void expect_count(std::vector<std::string>& errors, const std::string& what, uint64_t is,
                  uint64_t wanted) {
  if (is != wanted) {
    errors.push_back(what + ": " + std::to_string(is) + " instead of " + std::to_string(wanted));
  }
}

uint64_t commands_run(const std::string& command) {
  std::istringstream text(read_file(kPowerCommands));
  uint64_t count = 0;
  for (std::string line; std::getline(text, line);) {
    count += line == command ? 1U : 0U;
  }
  return count;
}

void check_power_commands(std::vector<std::string>& errors, const World& world) {
  for (const char* command : {"reboot", "poweroff"}) {
    const auto wanted =
        std::ranges::count_if(world.power_requests, [&](const PowerRequest& request) {
          return !request.taken_back && request.command == command;
        });
    expect_count(errors, std::string(command) + " commands", commands_run(command),
                 static_cast<uint64_t>(wanted));
  }
}

// A field of /proc/PID/smaps_rollup, which counts page by page; the other files
// of /proc are estimates.
long memory_kib(pid_t pid, const std::string& field) {
  std::istringstream text(read_file("/proc/" + std::to_string(pid) + "/smaps_rollup"));
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with(field + ":")) {
      return std::stol(line.substr(field.size() + 1));
    }
  }
  return 0;
}

}  // namespace

void measure(Footprint& footprint) {
  footprint.now_kib = memory_kib(footprint.pid, "Rss");
  footprint.now_own_kib = memory_kib(footprint.pid, "Anonymous");
}

void Watch::look_at(Footprint& footprint, pid_t pid, bool warm) {
  if (footprint.pid != pid) {
    footprint = {.pid = pid};
  }
  if (pid == -1 || !warm) {
    return;
  }
  measure(footprint);
  footprint.now_descriptors = descriptors_of(pid).size();
  if (footprint.warm_kib == 0) {
    footprint.warm_kib = footprint.now_kib;
    footprint.warm_own_kib = footprint.now_own_kib;
    footprint.warm_descriptors = footprint.now_descriptors;
  }
  most_growth_kib_ = std::max(most_growth_kib_, footprint.now_own_kib - footprint.warm_own_kib);
}

void Watch::look(World& world) {
  if (!world.relaying()) {
    return;
  }
  const uint64_t sent = world.account.sent[0] + world.account.sent[1];
  if (world.daemon.pid() != main_.pid) {
    sent_at_start_ = sent;
  }
  const bool warm = sent >= sent_at_start_ + kWarmAfter;
  look_at(main_, world.daemon.pid(), warm);
  look_at(proxy_, world.socket_proxy(), warm);
}

std::vector<std::string> end_of_life_errors(World& world, [[maybe_unused]] const Watch& watch) {
  std::vector<std::string> errors = world.account.errors;
  for (const Receiver& receiver : world.account.receivers) {
    for (const auto& expected : receiver.expected) {
      expect_count(errors, receiver.address + ": traps that never came", expected.size(), 0);
    }
  }
  expect_count(errors, "acknowledged log texts", world.counts.log_acks, world.counts.log_texts);
  expect_count(errors, "acknowledged shutdown requests", world.counts.shutdown_acks,
               world.counts.shutdowns);
  check_power_commands(errors, world);
  expect_count(errors, "processes", world.relays().size(), kRelayProcesses);
  expect_count(
      errors, "children of the first process that are no finished timers",
      static_cast<uint64_t>(std::ranges::count_if(children_of(world.daemon.pid()), is_alive)),
      kRelayProcesses - 1);
  expect_count(errors, "descriptors of the first process",
               descriptors_of(world.daemon.pid()).size(), kMainDescriptors);
  expect_count(errors, "descriptors of the socket proxy",
               descriptors_of(world.socket_proxy()).size(),
               kProxyDescriptors + (world.agent.connected() ? 1 : 0));
#ifndef TVUREV_SANITIZED  // which keep freed memory for a while
  if (watch.most_growth_kib() > kSlackKib) {
    errors.push_back("memory: a process grew by " + std::to_string(watch.most_growth_kib()) +
                     " KiB");
  }
#endif
  return errors;
}
