// SPDX-License-Identifier: Apache-2.0
// What the operator and the rest of the host do in a life.
#include <signal.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "tests/soak/paths.h"
#include "tests/soak/world.h"

namespace {

constexpr int kStopped = 1;
constexpr int kSignalled = 128;

// The receivers that the daemon is told of, by their numbers, and how.
struct Targets {
  std::string_view text;
  std::vector<size_t> receivers;
};

constexpr uint32_t kByName = 3;

const std::array<Targets, 5>& all_targets() {
  static const std::array<Targets, 5> kTargets = {{
      {"192.0.2.7@162 public;198.51.100.9@1162 ops;203.0.113.5@162 third", {0, 1, 2}},
      {"198.51.100.9@162 ops", {1}},
      {"203.0.113.5@162 third;192.0.2.7@162 public", {0, 2}},
      {"traps.example.net@162 public;198.51.100.9@162 ops", {0, 1}},
      {"nobody.example.net@162 public;198.51.100.9@162 ops;203.0.113.5@162 third", {1, 2}},
  }};
  return kTargets;
}

}  // namespace

// Takes effect with the next start.
void World::set_targets(uint32_t row) {
  const Targets& targets = all_targets()[row];
  named_receiver = row == kByName;
  write_file(kSnmpFile, "<config>\n<enable>true</enable>\n<targets>" + std::string(targets.text) +
                            "</targets>\n</config>\n");
  write_file("/etc/hosts", "127.0.0.1 localhost\n192.0.2.7 traps.example.net\n");
  for (size_t i = 0; i < account.receivers.size(); ++i) {
    account.receivers[i].configured =
        std::ranges::find(targets.receivers, i) != targets.receivers.end();
  }
}

// Each process has looked the name up once: from then on a silent name server
// costs a second now and then, and no trap.
bool World::names_are_known() const {
  const std::array<uint64_t, kRoads>& received = account.receivers[0].received;
  return named_receiver && received[0] > received_at_start[0] && received[1] > received_at_start[1];
}

void World::restart(int exit_status) {
  exits_expected = 1;
  exit_status_expected = exit_status;
}

void World::stop_by_files() {
  touch(kOrtStopFile);
  touch(kBmcStopFile);
  restart(kStopped);
}

// What the BMC has sent and the daemon has not read would be lost.
void World::stop_when_possible() {
  if (can_act(Actor::kOperator)) {
    stop_by_files();
  } else {
    after(std::chrono::seconds(10), [this] { stop_when_possible(); });
  }
}

namespace {

void receiver_away(World& world, const LifeEvent& event) {
  Receiver& receiver = world.account.receivers[event.count];
  if (receiver.fd.valid()) {
    receiver.fd.reset();
    world.after_quietly(std::chrono::seconds(event.value),
                        [&receiver] { open_receiver(receiver); });
  }
}

void log_closed(World& world, const LifeEvent& event) {
  if (world.log.works()) {
    world.log.close(event.kind == Kind::kLogDead);
    world.after(std::chrono::seconds(event.value), [&world] { world.log.open(); });
  }
}

void log_stalled(World& world, const LifeEvent& event) {
  if (world.log.works()) {
    world.log.stall(true);
    world.after(std::chrono::seconds(event.value), [&world] { world.log.stall(false); });
  }
}

void names_silent(World& world, const LifeEvent& event) {
  if (world.names_are_known()) {
    world.clock.silence_names(true);
    world.after(std::chrono::seconds(event.value), [&world] { world.clock.silence_names(false); });
  }
}

void stray_markers(World&, const LifeEvent&) {
  touch(kRestartFile);
  touch(kRunningFile);
}

void switch_debug(World& world, const LifeEvent&) {
  if (exists(kDebugSwitch)) {
    unlink(kDebugSwitch);
  } else {
    touch(kDebugSwitch);
  }
  world.stop_by_files();
}

void stop_files(World& world, const LifeEvent&) {
  world.stop_by_files();
}

void agent_stop_file(World& world, const LifeEvent&) {
  touch(kOrtStopFile);
  world.after(std::chrono::minutes(10), [&world] { world.stop_when_possible(); });
}

void sigterm(World& world, const LifeEvent&) {
  world.restart(0);
  world.daemon.signal(SIGTERM);
}

void sigkill(World& world, const LifeEvent&) {
  world.restart(kSignalled + SIGKILL);
  if (const pid_t proxy = world.socket_proxy(); proxy > 0) {
    kill(proxy, SIGKILL);
  }
  world.daemon.signal(SIGKILL);
}

void reverse_off(World& world, const LifeEvent& event) {
  world.gated = true;
  unlink(kRestartFile);  // a stray one would end the wait
  world.bmc.variables["KXHVM6"] = {0};
  world.stop_by_files();
  world.after(std::chrono::seconds(event.value) + std::chrono::minutes(1), [&world] {
    world.bmc.variables["KXHVM6"] = {1};
    touch(kRestartFile);
    world.gated = false;
    world.restart(kStopped);
  });
}

void targets(World& world, const LifeEvent& event) {
  world.next_targets = event.count;
  world.stop_by_files();
}

void signals(World& world, const LifeEvent&) {
  for (const pid_t pid : {world.daemon.pid(), world.socket_proxy()}) {
    if (pid > 0) {
      kill(pid, SIGHUP);
      kill(pid, SIGPIPE);
    }
  }
}

}  // namespace

const Acts& operator_acts() {
  static const Acts kActs = {{Kind::kReceiverAway, receiver_away},
                             {Kind::kLogGone, log_closed},
                             {Kind::kLogDead, log_closed},
                             {Kind::kLogStalled, log_stalled},
                             {Kind::kNamesSilent, names_silent},
                             {Kind::kStrayMarkers, stray_markers},
                             {Kind::kSwitchDebug, switch_debug},
                             {Kind::kStopFiles, stop_files},
                             {Kind::kAgentStopFile, agent_stop_file},
                             {Kind::kSigterm, sigterm},
                             {Kind::kKill, sigkill},
                             {Kind::kReverseOff, reverse_off},
                             {Kind::kTargets, targets},
                             {Kind::kSignals, signals}};
  return kActs;
}
