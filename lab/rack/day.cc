// SPDX-License-Identifier: Apache-2.0
#include "lab/rack/day.h"

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "lab/rack/rack.h"
#include "lab/rack/show.h"

namespace {

using std::chrono::duration;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr int kStartedAtOnce = 16;
constexpr seconds kStartLimit(120);
constexpr seconds kReconnectLimit(60);
// So long nothing may move before what is missing counts as lost.
constexpr seconds kStandstill(5);
constexpr uint32_t kSupplyFailed = 5;
constexpr uint32_t kFloods = 7;
constexpr size_t kMostWaiting = 16;
constexpr int kSignalled = 128;
constexpr long kKibAMib = 1024;

double seconds_since(steady_clock::time_point moment) {
  return duration<double>(steady_clock::now() - moment).count();
}

// What the machine still has, in KiB.
long memory_left() {
  std::ifstream file("/proc/meminfo");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("MemAvailable:")) {
      return std::atol(line.c_str() + line.find(':') + 1);
    }
  }
  return 0;
}

bool start_hosts(Rack* rack) {
  const auto begin = steady_clock::now();
  show_phase(rack, "the hosts start");
  const auto room = [rack] {
    return static_cast<int>(rack->hosts.size()) - connected(*rack) < kStartedAtOnce;
  };
  while (static_cast<int>(rack->hosts.size()) < rack->settings.hosts) {
    if (!move_until(rack, kStartLimit, room) || !add_host(rack)) {
      break;
    }
  }
  const bool all =
      static_cast<int>(rack->hosts.size()) == rack->settings.hosts &&
      move_until(rack, kStartLimit, [rack] { return connected(*rack) == rack->settings.hosts; });
  if (!all) {
    set_trouble(rack, "not every host connected to its BMC");
    return false;
  }
  char line[64];
  std::snprintf(line, sizeof line, "all connected after %.1f s", seconds_since(begin));
  show_line(rack, line);
  return true;
}

void say_or_trouble(Rack* rack, RackHost* host, uint32_t specific, const std::string& text) {
  if (const std::string error = say(host, specific, text); !error.empty()) {
    set_trouble(rack, error);
  }
  move_bmc(rack, host);
}

// Has every host speak within a second, one after the other.
void within_a_second(Rack* rack, const std::function<void(RackHost*)>& speak) {
  const auto begin = steady_clock::now();
  for (RackHost& host : rack->hosts) {
    const auto when = begin + milliseconds(1'000) * (host.number - 1) / rack->settings.hosts;
    while (steady_clock::now() < when) {
      const auto left = std::chrono::duration_cast<milliseconds>(when - steady_clock::now());
      move(rack, static_cast<int>(left.count()));
    }
    speak(&host);
    move(rack, 0);
  }
}

// Until everything that was said has reached the receivers' sockets and was read
// there, or nothing moves any more.
void settle(Rack* rack) {
  long before = -1;
  const auto moved = [&] {
    const long now = rack->sent + rack->receivers[0].printed + rack->receivers[1].printed;
    return std::exchange(before, now) != now;
  };
  while (moved() && !move_until(rack, kStandstill, [rack] { return all_arrived(*rack); })) {
    if (rack->interrupted || !rack->trouble.empty()) {
      return;
    }
  }
}

void show_rate(Rack* rack, long count, double taken) {
  char line[128];
  std::snprintf(
      line, sizeof line,
      "%ld notifications, each read or dropped at both receivers after %.2f s: %.0f a second",
      count, taken, static_cast<double>(count) / taken);
  show_line(rack, line);
}

void restart_bmcs(Rack* rack) {
  show_phase(rack, "all BMCs restart");
  within_a_second(
      rack, [&](RackHost* host) { say_or_trouble(rack, host, kBmcResets, "the BMC restarts"); });
  constexpr int kAgain = 2;
  const bool back = move_until(rack, kReconnectLimit, [rack] {
    return std::ranges::all_of(rack->hosts, [](const RackHost& host) {
      return host.connects >= kAgain && host.session >= 0;
    });
  });
  if (!back) {
    set_trouble(rack, "not every host came back to its BMC");
  }
  settle(rack);
}

void fail_power_feed(Rack* rack) {
  show_phase(rack, "a power feed fails");
  const auto begin = steady_clock::now();
  const long before = said(*rack);
  within_a_second(rack, [&](RackHost* host) {
    for (int i = 0; i < rack->settings.burst; ++i) {
      say_or_trouble(rack, host, kSupplyFailed, "Power supply 2: no input");
    }
  });
  settle(rack);
  show_rate(rack, said(*rack) - before, seconds_since(begin));
}

void flood(Rack* rack) {
  show_phase(rack, "one host floods");
  const auto begin = steady_clock::now();
  RackHost& host = rack->hosts.front();
  const auto has_room = [&host] {
    const Channel* channel = host.bmc.find_channel(host.session);
    return channel != nullptr && channel->unsent.size() < kMostWaiting;
  };
  for (int i = 0; i < rack->settings.flood; ++i) {
    if (!move_until(rack, kStandstill, has_room)) {
      set_trouble(rack, "the flooded host reads no more");
      return;
    }
    say_or_trouble(rack, &host, kFloods, "Fan 3 fails, is well again, fails");
  }
  settle(rack);
  show_rate(rack, rack->settings.flood, seconds_since(begin));
}

void show_memory(Rack* rack, long left_before) {
  std::vector<long> sizes;
  std::ranges::transform(rack->hosts, std::back_inserter(sizes), memory_of_host);
  std::ranges::sort(sizes);
  char line[160];
  std::snprintf(line, sizeof line, "a host's two processes have %ld KiB (most: %ld)",
                sizes[sizes.size() / 2], sizes.back());
  show_line(rack, line);
  // The whole machine's, with whatever others do on it meanwhile.
  std::snprintf(line, sizeof line, "the machine had %ld MiB to spare before, and now %ld",
                left_before / kKibAMib, memory_left() / kKibAMib);
  show_line(rack, line);
}

int conclude(Rack* rack) {
  for (const Receiver& receiver : rack->receivers) {
    if (receiver.misplaced > 0) {
      set_trouble(rack, receiver.address + ": misplaced: " + receiver.first_misplaced);
    }
    if (missing(*rack, receiver) != 0) {
      set_trouble(rack, receiver.address + ": " + std::to_string(missing(*rack, receiver)) +
                            " notifications were lost before the receiver's socket");
    }
  }
  if (rack->interrupted) {
    return kSignalled + SIGINT;
  }
  if (!rack->trouble.empty()) {
    std::fprintf(stderr, "fleet: %s\n", rack->trouble.c_str());
    return 1;
  }
  return 0;
}

}  // namespace

int play_day(const DaySettings& settings) {
  Rack rack;
  rack.settings = settings;
  const long left_before = memory_left();
  if (open_rack(&rack) && start_hosts(&rack)) {
    show_memory(&rack, left_before);
    const std::array<void (*)(Rack*), 3> phases = {restart_bmcs, fail_power_feed, flood};
    for (const auto phase : phases) {
      const bool wanted = phase != restart_bmcs || settings.restart;
      if (wanted && rack.trouble.empty() && !rack.interrupted) {
        phase(&rack);
      }
    }
    take_sample(&rack);
  }
  show_totals(&rack);
  return conclude(&rack);
}
