// SPDX-License-Identifier: Apache-2.0
#include "tests/soak/flood.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <vector>

#include "tests/soak/dice.h"
#include "tests/soak/notifications.h"
#include "tests/soak/paths.h"
#include "tests/soak/watch.h"
#include "tests/soak/world.h"

namespace {

// Packets between two good notifications.
constexpr uint32_t kBatch = 100;
// Of a host agent: what one receive takes, and as many of it as its socket holds.
constexpr size_t kOneReceive = 4080;
constexpr uint32_t kReceivesHeld = 20;

// Of each complaint of the daemon's own in a second, and its "more like this".
constexpr uint64_t kLinesASecond = 10;
constexpr std::chrono::seconds kStopWithin(2);
constexpr uint32_t kWarmSeconds = 2;
constexpr long kSlackKib = 64;

// A complaint without what differs from one to the next, but with the number of
// its process: each process limits its own.
std::string kind_of(const std::string& line) {
  const size_t text = std::min(line.find("]: "), line.size());
  const size_t process = std::min(line.rfind('[', text), text);
  std::string kind = line.substr(text);
  std::erase_if(kind, [](char character) {
    return (character >= '0' && character <= '9') || character == '.' || character == '-';
  });
  return line.substr(process, text - process) + kind;
}

// The log of one simulated second.
struct Second {
  std::map<std::string, uint64_t> complaints;
};

struct Flood {
  explicit Flood(const FloodSettings& flood_settings, const std::string& library)
      : settings(flood_settings), world({.seed = flood_settings.seed}, library) {}

  FloodSettings settings;
  World world;
  uint32_t number = 1;
  uint64_t refused = 0;
  uint64_t most_lines = 0;  // of one kind in a second
  std::string most_lines_of;
  Second second;
  Footprint main;
  Footprint proxy;
  std::vector<std::string> errors;
};

// Without those of which a documented line tells, which has no limit.
Bytes refused_packet(Flood& flood) {
  const uint32_t number = flood.number++;
  const uint64_t seed = flood.settings.seed;
  ChifBuilder packet(0x0001);
  packet.svc(13).agentx(good_notification(seed, number, 600).pdu);
  switch (number % 5) {
    case 0:
      return packet.sized(1 + number % 16).bytes();
    case 1:
      return packet.u8_at(17, static_cast<uint8_t>(number % 12)).bytes();
    case 2:
      return packet.agentx_resp_len(0).bytes();
    default:
      return notification_packet(hopeless_notification(seed, number), seed, number);
  }
}

Bytes agent_junk(Flood& flood) {
  Dice dice(flood.settings.seed, flood.number++);
  Bytes junk(kReceivesHeld * kOneReceive);
  std::ranges::generate(junk, [&] { return static_cast<uint8_t>(dice.below(256)); });
  return junk;
}

void flood_channel(Flood& flood, uint32_t packets) {
  for (uint32_t i = 0; i < packets; ++i, ++flood.refused) {
    flood.world.send_packet(refused_packet(flood));
    if (i % kBatch == kBatch - 1) {
      flood.world.send_good(flood.number++);
    }
  }
}

void flood_socket(Flood& flood, uint32_t packets) {
  for (uint32_t i = 0; i < packets; i += kReceivesHeld, flood.refused += kReceivesHeld) {
    flood.world.agent.add({.bytes = agent_junk(flood)});
    const Notification good = good_notification(flood.settings.seed, flood.number++);
    flood.world.agent.add({.bytes = good.pdu, .trap = good.trap});
    flood.world.send_good(flood.number++);
  }
}

void flood_once(Flood& flood, uint32_t packets) {
  if (flood.settings.road == Road::kChannel) {
    flood_channel(flood, packets);
    const Notification good = good_notification(flood.settings.seed, flood.number++);
    flood.world.agent.add({.bytes = good.pdu, .trap = good.trap});
  } else {
    flood_socket(flood, packets);
  }
  flood.world.clock.wake_all();
  flood.world.settle();
}

void count_lines(Flood& flood) {
  for (const auto& [kind, count] : flood.second.complaints) {
    if (count > flood.most_lines) {
      flood.most_lines = count;
      flood.most_lines_of = kind;
    }
  }
  flood.second.complaints.clear();
}

void look_at(Footprint& footprint, pid_t pid, bool warm) {
  footprint.pid = pid;
  measure(footprint);
  if (!warm) {
    footprint.warm_kib = footprint.now_kib;
    footprint.warm_own_kib = footprint.now_own_kib;
  }
}

void let_a_second_pass(Flood& flood) {
  const SimTime next = flood.world.clock.now() + std::chrono::seconds(1);
  flood.world.step_until("the next second", [&] { return flood.world.clock.now() >= next; });
  count_lines(flood);
}

void flood_for_a_while(Flood& flood) {
  for (uint32_t i = 0; i < flood.settings.seconds; ++i) {
    flood_once(flood, flood.settings.packets_a_second);
    flood.world.step_until("everything read", [&] {
      return has_all(flood.world.account) && flood.world.agent.idle() && flood.world.bmc.drained();
    });
    let_a_second_pass(flood);
    look_at(flood.main, flood.world.daemon.pid(), i >= kWarmSeconds);
    look_at(flood.proxy, flood.world.socket_proxy(), i >= kWarmSeconds);
    if (isatty(STDOUT_FILENO) != 0) {
      printf("\r%u s  %llu refused  %llu traps  RSS %ld + %ld KiB ", i + 1,
             static_cast<unsigned long long>(flood.refused),
             static_cast<unsigned long long>(flood.world.account.traps_received),
             flood.main.now_kib, flood.proxy.now_kib);
      fflush(stdout);
    }
  }
}

void expect_end(Flood& flood, const std::string& what, const std::function<bool()>& ended) {
  const SimTime asked = flood.world.clock.now();
  flood.world.step_until("the end of " + what, ended);
  if (flood.world.clock.now() - asked > kStopWithin) {
    flood.errors.push_back(what + " did not obey its stop file within two seconds");
  }
}

// The agent's junk goes on; what the proxy leaves unread is the agent's again.
void stop_proxy_amid_flood(Flood& flood) {
  World& world = flood.world;
  const pid_t proxy = world.socket_proxy();
  flood_socket(flood, flood.settings.packets_a_second);
  touch(kOrtStopFile);
  expect_end(flood, "the socket proxy",
             [&] { return std::ranges::count(world.clock.processes(), proxy) == 0; });
  if (world.agent.idle()) {
    flood.errors.emplace_back("the flood was over before the socket proxy ended");
  }
  if (exists(kOrtStopFile)) {
    flood.errors.emplace_back("the socket proxy ended, but not for the stop file");
  }
}

// Nobody expects the trap of the good one behind all this: it would show that the
// file was not looked at in between.
void stop_daemon_amid_flood(Flood& flood) {
  World& world = flood.world;
  for (uint32_t i = 0; i < flood.settings.packets_a_second; ++i) {
    world.send_packet(refused_packet(flood));
  }
  const uint32_t number = flood.number++;
  world.send_packet(notification_packet(good_notification(flood.settings.seed, number).pdu,
                                        flood.settings.seed, number));
  touch(kBmcStopFile);
  world.restart(1);
  world.clock.wake_all();
  expect_end(flood, "the first process", [&] { return world.exits_expected == -1; });
}

void judge(Flood& flood) {
  std::vector<std::string>& errors = flood.errors;
  const std::vector<std::string>& account = flood.world.account.errors;
  errors.insert(errors.end(), account.begin(), account.end());
  if (!has_all(flood.world.account)) {
    errors.emplace_back("some traps never came");
  }
  if (flood.most_lines > kLinesASecond) {
    errors.push_back("the log got " + std::to_string(flood.most_lines) +
                     " lines in a second like: " + flood.most_lines_of);
  }
#ifndef TVUREV_SANITIZED  // which keep freed memory for a while
  for (const Footprint* print : {&flood.main, &flood.proxy}) {
    if (print->now_own_kib > print->warm_own_kib + kSlackKib) {
      errors.push_back("a process grew from " + std::to_string(print->warm_own_kib) + " to " +
                       std::to_string(print->now_own_kib) + " KiB");
    }
  }
#endif
}

void print_outcome(const Flood& flood) {
  const auto shown = [](uint64_t count) { return static_cast<unsigned long long>(count); };
  const Account& account = flood.world.account;
  printf("\nrefused %llu; good on the channel %llu, on the socket %llu\n", shown(flood.refused),
         shown(account.sent[0]), shown(account.sent[1]));
  printf("traps expected %llu, received %llu\n", shown(account.traps_expected),
         shown(account.traps_received));
  printf("log: %llu lines, %llu of priority 3 and above; the most of one kind in a second %llu\n",
         shown(flood.world.log.lines()), shown(flood.world.log.errors()), shown(flood.most_lines));
  printf("RSS first process %ld to %ld KiB, socket proxy %ld to %ld KiB\n", flood.main.warm_kib,
         flood.main.now_kib, flood.proxy.warm_kib, flood.proxy.now_kib);
  for (const std::string& error : flood.errors) {
    printf("wrong: %s\n", error.c_str());
  }
}

}  // namespace

bool flood(const FloodSettings& settings, const std::string& clock_library) {
  Flood flood(settings, clock_library);
  flood.world.log.on_error = [&](const std::string& line) {
    ++flood.second.complaints[kind_of(line)];
  };
  printf("flood of the %s, %u s of %u packets, seed %llu\n",
         settings.road == Road::kChannel ? "channel" : "agents' socket", settings.seconds,
         settings.packets_a_second, static_cast<unsigned long long>(settings.seed));
  try {
    flood.world.start();
    flood_for_a_while(flood);
    if (flood.world.account.errors.empty()) {
      if (settings.road == Road::kSocket) {
        stop_proxy_amid_flood(flood);
      }
      stop_daemon_amid_flood(flood);
    }
  } catch (const std::exception& failure) {
    flood.errors.emplace_back(failure.what());
  }
  judge(flood);
  print_outcome(flood);
  if (!flood.errors.empty()) {
    printf("Show it again with: ./soak --flood %s %u --seed %llu\n",
           settings.road == Road::kChannel ? "channel" : "agent", settings.seconds,
           static_cast<unsigned long long>(settings.seed));
    return false;
  }
  printf("Everything balances.\n");
  return true;
}
