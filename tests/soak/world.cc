// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/world.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>

#include "tests/e2e/process.h"
#include "tests/soak/paths.h"

namespace {

constexpr std::chrono::seconds kSupervisorPause(5);
constexpr std::chrono::hours kPatience(1);
constexpr std::chrono::seconds kLookAgain(10);
constexpr size_t kProcessesOfARelay = 2;

// Note what was asked for and do nothing: a host that goes down would end here.
void install_power_commands() {
  for (const char* name : {"reboot", "poweroff"}) {
    const std::string path = std::string("/sbin/") + name;
    unlink(path.c_str());
    write_file(path, std::string("#!/bin/sh\necho ") + name + " >>" + kPowerCommands + "\n");
    chmod(path.c_str(), 0755);
  }
}

// We and the daemon take turns: on one CPU that is twice as fast.
void stay_on_one_cpu() {
  cpu_set_t allowed;
  cpu_set_t one;
  CPU_ZERO(&one);
  if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) {
    return;
  }
  for (size_t cpu = CPU_SETSIZE; cpu-- > 0;) {
    if (CPU_ISSET(cpu, &allowed)) {
      CPU_SET(cpu, &one);
      sched_setaffinity(0, sizeof one, &one);
      return;
    }
  }
}

// What waits for room in a channel's queue.
size_t unsent_packets(const Simulator& bmc) {
  size_t count = 0;
  for (const Channel& channel : bmc.channels) {
    count += channel.unsent.size();
  }
  return count;
}

void check(const std::string& error) {
  if (!error.empty()) {
    throw std::runtime_error(error);
  }
}

}  // namespace

World::World(const LifeSettings& life_settings, std::string clock_library)
    : settings(life_settings), library(std::move(clock_library)), clock("/tmp/soak-clock") {}

void World::start() {
  // Processes that the daemon leaves behind become ours to reap.
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  stay_on_one_cpu();
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  install_power_commands();
  log.open();
  check(bmc.open_channels());
  bmc.on_happening = [this](const Happening& happening) { hear(happening); };
  for (const auto& [address, community] :
       {std::pair("192.0.2.7", "public"), std::pair("198.51.100.9", "ops"),
        std::pair("203.0.113.5", "third")}) {
    account.receivers.push_back({.address = address, .community = community, .fd = {}});
    open_receiver(account.receivers.back());
  }
  next_targets = 0;
  start_daemon();
  step_until("the first session", [&] { return relaying(); });
}

void World::start_daemon() {
  ++counts.starts;
  // As every supervisor of it must.
  unlink(kStatusFile);
  if (next_targets) {
    set_targets(*next_targets);
    next_targets.reset();
  }
  // What a start must find out, a name server that keeps silent would not say, and
  // nobody could ask a BMC whose channels are all held.
  clock.silence_names(false);
  hold_channels(false);
  received_at_start = account.receivers[0].received;
  std::vector<std::string> environment = clock.environment(library);
  environment.emplace_back("ASAN_OPTIONS=verify_asan_link_order=0:log_path=/tmp/sanitizer");
  check(daemon.start({.arguments = {"/sbin/tvurev"}, .environment = environment}));
  clock.await_start(daemon.pid());
  proxy = -1;
  abortable.reset();
  settle();
}

// An end that nobody asked for is a failure, an asked one another start.
void World::supervise() {
  // Its output closes before it has ended: by then there may be nothing to take.
  daemon.pump();
  if (!daemon.ended() || daemon.pid() == -1) {
    return;
  }
  const int status = daemon.status();
  if (exits_expected == 0 || status != exit_status_expected) {
    throw std::runtime_error("the daemon ended with status " + std::to_string(status));
  }
  daemon.end();
  exits_expected = -1;  // gone, and not started yet
  session_up = false;
  after(kSupervisorPause, [this] {
    exits_expected = 0;
    start_daemon();
  });
}

// One call tells most of the time that nothing came.
bool World::anything_to_take() const {
  std::vector<pollfd> descriptors = bmc.descriptors();
  for (const Receiver& receiver : account.receivers) {
    descriptors.push_back({receiver.fd.get(), POLLIN, 0});
  }
  descriptors.push_back({log.fd(), POLLIN, 0});
  descriptors.push_back({agent.fd(), 0, 0});
  daemon.add_descriptors(&descriptors);
  return poll(descriptors.data(), descriptors.size(), 0) > 0;
}

Pumped World::pump(bool at_rest) {
  if (!anything_to_take() && (!at_rest || agent.idle()) && hang_ups_at_once == 0) {
    return Pumped::kNothing;
  }
  const size_t unsent = unsent_packets(bmc);
  bool any = bmc.step(0);
  any = unsent_packets(bmc) != unsent || any;
  if (session_up && hang_ups_at_once > 0) {
    --hang_ups_at_once;
    hang_up_bmc();
    any = true;
  }
  if (daemon.running()) {
    daemon.pump();
  }
  bmc.history.clear();
  for (Receiver& receiver : account.receivers) {
    take_traps(account, receiver);
  }
  any = (at_rest && agent.act(account, clock.now())) || any;
  const bool logged = log.pump();
  return any ? Pumped::kInput : logged ? Pumped::kLogOnly : Pumped::kNothing;
}

void World::settle() {
  clock.settle([this](bool at_rest) { return pump(at_rest); });
  if (exits_expected >= 0) {
    supervise();
  }
}

void World::run_due() {
  while (!later.empty() && later.begin()->first <= clock.now()) {
    const auto action = std::move(later.begin()->second);
    later.erase(later.begin());
    action();
    clock.wake_all();
    settle();
  }
}

void World::step(SimTime limit) {
  if (!later.empty()) {
    limit = std::min(limit, later.begin()->first);
  }
  limit = std::min(limit, agent.next());
  clock.step(limit, [this](bool at_rest) { return pump(at_rest); });
  if (exits_expected >= 0) {
    supervise();
  }
  run_due();
}

void World::step_until(const std::string& what, const std::function<bool()>& done) {
  const SimTime give_up = clock.now() + kPatience;
  while (!done()) {
    if (clock.now() >= give_up) {
      throw std::runtime_error("after an hour not yet: " + what);
    }
    step(give_up);
  }
}

void World::after(SimTime delay, std::function<void()> action) {
  later.emplace(clock.now() + delay, std::move(action));
}

void World::after_quietly(SimTime delay, const std::function<void()>& action) {
  after(delay, [this, action] {
    if (has_all(account)) {
      action();
    } else {
      after_quietly(kLookAgain, action);
    }
  });
}

bool World::can_act(Actor actor) const {
  switch (actor) {
    case Actor::kOperator:
      return daemon.running() && exits_expected == 0 && !gated && has_all(account);
    case Actor::kBmc:
      // Read by the daemon: that it is connected, too.
      return session_up && exits_expected == 0 && bmc.drained() && has_all(account, Road::kChannel);
    case Actor::kAgent:
      return agent.idle();
  }
  return false;
}

void World::play(const LifeEvent& event) {
  static const std::array<const Acts*, kActors> kActs = {&operator_acts(), &bmc_acts(),
                                                         &agent_acts()};
  kActs[static_cast<size_t>(actor_of(event.kind))]->at(event.kind)(*this, event);
  clock.wake_all();
  settle();
}

// The timers are the daemon's children or, after its end, ours; they sleep 5 s at
// a time, which neither loop does.
std::vector<pid_t> World::relays() {
  std::vector<pid_t> pids = clock.processes();
  std::erase_if(pids, [this](pid_t pid) { return clock.waits(pid, std::chrono::seconds(5)); });
  return pids;
}

// The first child that the daemon forks.
pid_t World::socket_proxy() {
  if (proxy == -1 && daemon.running()) {
    const std::vector<pid_t> children = children_of(daemon.pid());
    proxy = children.size() < kProcessesOfARelay - 1 ? -1 : *std::ranges::min_element(children);
  }
  return proxy;
}
