// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/month.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <deque>
#include <stdexcept>

#include "tests/e2e/process.h"
#include "tests/soak/watch.h"
#include "tests/soak/world.h"

namespace {

using std::chrono::milliseconds;

// Whoever cannot act for so long is stuck: a BMC needs five minutes for a
// greeting without an answer and a quarter of an hour for a goodbye.
constexpr std::chrono::hours kStuck(6);
constexpr std::chrono::milliseconds kProgress(500);
constexpr std::chrono::milliseconds kProgressInFile(10'000);
constexpr size_t kLastEvents = 15;
// How often memory is looked at, in events.
constexpr uint64_t kLookEvery = 100;

struct Progress {
  std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point shown = started;
  uint64_t events = 0;
  std::deque<std::string> last_events;
};

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

milliseconds in_ms(SimTime time) {
  return std::chrono::duration_cast<milliseconds>(time);
}

unsigned long long shown(uint64_t count) {
  return count;
}

void show_progress(const World& world, const Watch& watch, Progress& progress, bool always) {
  const auto now = std::chrono::steady_clock::now();
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  const auto pause = terminal ? kProgress : kProgressInFile;
  if (!always && now - progress.shown < pause) {
    return;
  }
  progress.shown = now;
  const Account& account = world.account;
  printf("%s%s  %llu events  %llu sent  %llu traps  RSS %ld + %ld KiB ", terminal ? "\r" : "\n",
         time_text(in_ms(world.clock.now())).c_str(), shown(progress.events),
         shown(account.sent[0] + account.sent[1]), shown(account.traps_received),
         watch.main().now_kib, watch.proxy().now_kib);
  fflush(stdout);
}

// The events of each actor, which act side by side.
using Queues = std::array<std::deque<LifeEvent>, kActors>;

// The time at which the next one comes that can be played then.
SimTime next_time(const World& world, const Queues& queues, SimTime end) {
  SimTime next = end;
  for (size_t i = 0; i < kActors; ++i) {
    if (!queues[i].empty() && world.can_act(static_cast<Actor>(i))) {
      next = std::min<SimTime>(next, queues[i].front().at);
    }
  }
  return std::max(next, world.clock.now());
}

void check_not_stuck(const World& world, const Queues& queues) {
  for (const std::deque<LifeEvent>& queue : queues) {
    if (!queue.empty() && queue.front().at + kStuck < world.clock.now()) {
      throw std::runtime_error("it could not be done for hours: " + event_text(queue.front()));
    }
  }
}

// Plays what can be played now. Returns whether anything was.
bool play_due(World& world, Watch& watch, Queues& queues, Progress& progress) {
  bool any = false;
  for (size_t i = 0; i < kActors; ++i) {
    std::deque<LifeEvent>& queue = queues[i];
    if (queue.empty() || queue.front().at > world.clock.now() ||
        !world.can_act(static_cast<Actor>(i))) {
      continue;
    }
    const LifeEvent event = queue.front();
    queue.pop_front();
    progress.last_events.push_back(time_text(in_ms(world.clock.now())) + " | " + event_text(event));
    if (progress.last_events.size() > kLastEvents) {
      progress.last_events.pop_front();
    }
    world.play(event);
    if (++progress.events % kLookEvery == 0) {
      watch.look(world);
      show_progress(world, watch, progress, false);
    }
    any = true;
  }
  return any;
}

bool all_played(const Queues& queues) {
  return std::ranges::all_of(queues, [](const auto& queue) { return queue.empty(); });
}

void play_all(World& world, Watch& watch, Queues& queues, Progress& progress, SimTime end) {
  while (!all_played(queues)) {
    if (!world.account.errors.empty()) {
      return;
    }
    if (!play_due(world, watch, queues, progress)) {
      check_not_stuck(world, queues);
      world.step(
          next_time(world, queues, std::max(end, world.clock.now() + std::chrono::hours(1))));
    }
  }
}

// Everybody is back, every timer has run, and both roads still relay.
void come_to_rest(World& world, Watch& watch, Progress& progress) {
  world.step_until("the end of everything that was begun", [&] {
    return world.later.empty() && world.relaying() && world.can_act(Actor::kBmc) &&
           world.can_act(Actor::kAgent) && world.can_act(Actor::kOperator) &&
           world.relays().size() == world.clock.processes().size();
  });
  const uint32_t number = 0xFFFF'0000;
  world.play({.at = {}, .kind = Kind::kNotify, .number = number});
  world.play({.at = {}, .kind = Kind::kAgentNotify, .number = number + 1});
  world.step_until("the last notifications",
                   [&] { return world.can_act(Actor::kAgent) && has_all(world.account); });
  // A daemon that was started again leaves its old proxy to find out by itself.
  const SimTime quiet = world.clock.now() + std::chrono::minutes(2);
  world.step_until("two quiet minutes", [&] { return world.clock.now() >= quiet; });
  watch.look(world);
  show_progress(world, watch, progress, true);
}

void print_table(const World& world, const Watch& watch, const Progress& progress) {
  const Account& account = world.account;
  const World::Counts& counts = world.counts;
  printf("\n\n%-34s %14s %14s\n", "", "channel", "socket");
  printf("%-34s %14llu %14llu\n", "good notifications sent", shown(account.sent[0]),
         shown(account.sent[1]));
  for (const Receiver& receiver : account.receivers) {
    printf("%-34s %14llu %14llu\n", ("traps in order at " + receiver.address).c_str(),
           shown(receiver.received[0]), shown(receiver.received[1]));
  }
  printf("traps expected %llu, received %llu, digest %016llx\n", shown(account.traps_expected),
         shown(account.traps_received), shown(account.digest));
  printf("bad ones dropped %llu, lost as documented %llu\n", shown(counts.dropped),
         shown(counts.lost));
  printf("log texts %llu of %llu acknowledged, shutdown requests %llu of %llu\n",
         shown(counts.log_acks), shown(counts.log_texts), shown(counts.shutdown_acks),
         shown(counts.shutdowns));
  printf("sessions %llu, starts of the daemon %llu, lines logged %llu\n", shown(counts.sessions),
         shown(counts.starts), shown(world.log.lines()));
  printf("%-16s %21s %21s %12s\n", "", "RSS warm (its own)", "at the end (its own)", "descriptors");
  for (const auto& [name, print] :
       {std::pair("first process", watch.main()), std::pair("socket proxy", watch.proxy())}) {
    printf("%-16s %8ld (%ld) KiB %8ld (%ld) KiB %7zu and %zu\n", name, print.warm_kib,
           print.warm_own_kib, print.now_kib, print.now_own_kib, print.warm_descriptors,
           print.now_descriptors);
  }
  printf("most growth of what a process wrote %ld KiB; processes %zu\n", watch.most_growth_kib(),
         static_cast<size_t>(const_cast<World&>(world).relays().size()));
  printf("%llu events in %s of simulated time, %.0f s of real time\n", shown(progress.events),
         time_text(in_ms(world.clock.now())).c_str(), seconds_since(progress.started));
}

void print_failure(const World& world, const Progress& progress, const LifeSettings& settings,
                   const std::vector<std::string>& errors) {
  printf("\n--- the last events: when it was played | when it was due, and what\n");
  for (const std::string& event : progress.last_events) {
    printf("%s\n", event.c_str());
  }
  printf("--- the log's last lines\n");
  for (const std::string& line : world.log.last()) {
    printf("%s\n", line.c_str());
  }
  printf("--- what does not balance\n");
  for (const std::string& error : errors) {
    printf("%s\n", error.c_str());
  }
  printf("Show it again with: ./soak --seed %llu --days %u --events %u", shown(settings.seed),
         settings.days, settings.events);
  for (const std::string& kind : settings.without) {
    printf(" --without %s", kind.c_str());
  }
  printf("\n");
}

}  // namespace

bool live(const LifeSettings& settings, const std::string& clock_library) {
  printf("seed %llu, %u days, %u events\n", shown(settings.seed), settings.days, settings.events);
  Queues queues;
  for (const LifeEvent& event : make_life(settings)) {
    queues[static_cast<size_t>(actor_of(event.kind))].push_back(event);
  }
  Progress progress;
  World world(settings, clock_library);
  Watch watch;
  std::vector<std::string> errors;
  try {
    world.start();
    play_all(world, watch, queues, progress, std::chrono::hours(24) * settings.days);
    if (world.account.errors.empty()) {
      come_to_rest(world, watch, progress);
    }
    print_table(world, watch, progress);
    errors = world.account.errors.empty() ? end_of_life_errors(world, watch) : world.account.errors;
  } catch (const std::exception& failure) {
    errors = world.account.errors;
    errors.emplace_back(failure.what());
  }
  if (!errors.empty()) {
    print_failure(world, progress, settings, errors);
    return false;
  }
  printf("Everything balances.\n");
  return true;
}
